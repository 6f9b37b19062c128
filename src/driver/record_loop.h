#pragma once

class conversion_watcher;
class kzr_data_manager;
class kzr_record_processor;
class multifile_reader;

/// Hands every record of the run to the processor, in the order of the merge. `model` is the one that the
/// processor grows. The watcher, if there is one, is told of each record before it is processed.
void process_records(multifile_reader& traces, const kzr_data_manager& model, kzr_record_processor& processor,
                     conversion_watcher* watcher);
