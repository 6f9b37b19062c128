#pragma once

class kzr_data_manager;

/// Walks a model whose inner graphs are complete and expects that it holds together: every node stands in one
/// graph and every graph in another one or at the top, ports belong to their nodes, no id or number is there
/// twice, and an edge joins ports of nodes that stand in its graph or further inside.
void expect_sound_model(const kzr_data_manager& model);
