#pragma once

class event_list;
class kzr_data_manager;
class kzr_traceml_writer;

/// Hands the events of a run to the timeline's writer, in their order. The model must be complete.
void replay_events(const event_list& events, const kzr_data_manager& model, kzr_traceml_writer& writer);
