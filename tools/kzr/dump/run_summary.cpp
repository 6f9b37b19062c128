#include "kzr/dump/run_summary.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>

#include "graphml/graphml_file.h"
#include "kzr/common/captured_output.h"
#include "kzr/common/converter_end.h"
#include "kzr/common/progress_bar.h"
#include "kzr/dump/problems.h"
#include "kzr/dump/record_size.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

namespace {

/// True for the kinds that are looked at only when their domain is known.
bool depends_on_domain(record_kind kind) {
  return (kind >= record_kind::metadata && kind <= record_kind::relation) ||
         (kind >= record_kind::task_begin && kind <= record_kind::region_end);
}

std::string narrow(const wchar_t* wide) {
  std::string text;
  for (; *wide != L'\0'; ++wide) text += static_cast<char>(*wide);
  return text;
}

/// The number at which the list of files ends.
std::uint64_t first_unread(const std::vector<file_survey>& files) {
  const bool last_ends_list = !files.empty() && ends_list(files.back().ending);
  return files.size() - (last_ends_list ? 1 : 0);
}

/// Sends the records of a run through the converter's own processor and counts on the way.
class run_surveyor {
 public:
  run_surveyor(run_summary& run, progress_bar& progress) : run_(run), progress_(progress) {}

  void survey() {
    const char* step = "opening the trace files";
    try {
      const std::unique_ptr<multifile_reader> reader = open();
      step = "reading imageload.csv";
      kzr_record_processor processor("", run_.frequency, run_.concurrency, run_.omp_experimental ? 1 : 0,
                                     run_outputs::none);
      step = "reading the records";
      try {
        process_records(*reader, processor);
        step = "completing inner graphs";
        complete(processor.data_manager());
        step = "writing the timeline";
        check_concurrency();
      } catch (const std::exception& end) {
        tell_end(step, end);
      }
      take_stock(processor.data_manager());
    } catch (const std::exception& end) {
      tell_end(step, end);
    }
  }

 private:
  std::unique_ptr<multifile_reader> open() {
    const captured_output messages;
    auto reader = std::make_unique<multifile_reader>(run_.stem);
    const std::uint64_t expected = first_unread(run_.files);
    run_.unopened_files = expected - std::min<std::uint64_t>(expected, reader->opened_files());
    return reader;
  }

  void tell_end(const char* step, const std::exception& end) {
    run_.converter_end = std::string(step) + ": " + end.what();
  }

  /// The one thing that can end the writing of the documents.
  void check_concurrency() const {
    try {
      static_cast<void>(std::stoi(run_.concurrency));
    } catch (const std::logic_error&) {
      throw converter_end("\"" + run_.concurrency + "\" is no number of hardware threads");
    }
  }

  void process_records(multifile_reader& reader, kzr_record_processor& processor) {
    const kzr_data_manager& dm = processor.data_manager();
    trace_record record;
    while (reader.next_record(record)) {
      if (is_binary(record)) progress_.add(binary_size_of(record));
      count(record, dm);
      processor.process_record(record);
    }
  }

  void count(const trace_record& record, const kzr_data_manager& dm) {
    ++run_.record_count;
    if (record.kind == record_kind::domain_create_a || record.kind == record_kind::domain_create_w) {
      domain_summary& domain = run_.domains[record.handle()];
      domain.name =
          record.kind == record_kind::domain_create_a ? record.narrow_string() : narrow(record.wide_string());
      domain.is_named = true;
      return;
    }
    if (!depends_on_domain(record.kind)) return;
    domain_of(record.domain()).record_count += 1;
    if (dm.domain_type(record.domain()) == DomainType::unknown) {
      ++run_.ignored_record_count;
      return;
    }
    if (record.kind == record_kind::task_begin) ++open_tasks(record.producer).begun;
    if (record.kind == record_kind::task_end) end_task(open_tasks(record.producer));
  }

  domain_summary& domain_of(std::uint64_t handle) {
    // Neighbouring records mostly share their domain.
    if (last_domain_ == nullptr || last_handle_ != handle) {
      last_domain_ = &run_.domains[handle];
      last_handle_ = handle;
    }
    return *last_domain_;
  }

  thread_tasks& open_tasks(int producer) { return run_.tasks[producer]; }

  static void end_task(thread_tasks& tasks) {
    ++tasks.ended;
    // As long as ends run ahead of begins, they have none.
    if (tasks.ended - tasks.unmatched_ends > tasks.begun) ++tasks.unmatched_ends;
  }

  static void complete(kzr_data_manager& dm) {
    for (std::size_t i = 0; i < dm.files().size(); ++i) {
      const std::shared_ptr<graphml_file> file = dm.files()[i];
      file->post_process(&dm);
    }
  }

  void take_stock(const kzr_data_manager& dm) {
    for (auto& [producer, tasks] : run_.tasks) {
      tasks.unmatched_begins = tasks.begun - (tasks.ended - tasks.unmatched_ends);
    }
    for (auto& [handle, domain] : run_.domains) domain.type = dm.domain_type(handle);
    run_.warnings = dm.warnings();
    for (const graph_symbol* const graph : dm.graphs()) count_graph(*graph);
    model_counts& model = run_.model;
    model.edges_made = edge_symbol::edge_count;
    model.parallel_regions = parallel_region_symbol::parallel_region_count;
    model.implicit_tasks = implicit_task_symbol::implicit_task_count;
    model.explicit_tasks = explicit_task_symbol::explicit_task_count;
  }

  void count_graph(const graph_symbol& graph) {
    model_counts& model = run_.model;
    ++(graph.composite_node() != nullptr ? model.composite_nodes : model.graphs);
    model.edges += graph.count_edges();
    for (const node_symbol* const node : graph.nodes_by_name()) {
      ++model.nodes;
      model.ports += node->input_ports().size() + node->output_ports().size();
    }
  }

  run_summary& run_;
  progress_bar& progress_;
  std::uint64_t last_handle_ = 0;
  domain_summary* last_domain_ = nullptr;
};

/// What the files tell of the whole run.
void sum_up_files(run_summary& run) {
  for (const file_survey& file : run.files) {
    if (!is_usable(file.ending)) continue;
    if (run.frequency.empty()) {
      run.frequency = file.frequency;
      run.concurrency = file.concurrency;
    }
    if (!file.first_timestamp) continue;
    ++run.threads;
    const auto [first, last] = std::minmax(*file.first_timestamp, *file.last_timestamp);
    run.first_timestamp = std::min(run.first_timestamp.value_or(first), first);
    run.last_timestamp = std::max(run.last_timestamp.value_or(last), last);
  }
  char* end = nullptr;
  const double frequency = std::strtod(run.frequency.c_str(), &end);
  const bool is_number = end != run.frequency.c_str() && *end == '\0' && std::isfinite(frequency);
  if (run.first_timestamp && is_number && frequency > 0) {
    run.duration_seconds = static_cast<double>(*run.last_timestamp - *run.first_timestamp) / frequency;
  }
}

}  // namespace

run_summary summarise_run(const std::string& stem, bool omp_experimental) {
  run_summary run;
  run.stem = stem;
  run.omp_experimental = omp_experimental;
  const file_inventory files = list_files(stem);
  progress_bar progress(2 * files.total_bytes);
  run.files = survey_files(stem, progress);
  run.gap = find_gap(stem, first_unread(run.files));
  sum_up_files(run);
  progress.add(files.xml_bytes);
  run_surveyor(run, progress).survey();
  run.problems = find_problems(run);
  return run;
}
