#include "kzr/dump/run_summary.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "kzr/common/captured_output.h"
#include "kzr/common/converter_end.h"
#include "kzr/common/progress_bar.h"
#include "kzr/dump/problems.h"
#include "kzr/dump/record_size.h"
#include "kzr/dump/record_text.h"
#include "model/kzr_data_manager.h"
#include "processor/image_table.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

namespace {

/// True for the kinds that are looked at only when their domain is known. The kinds about identifiers name
/// one and are never looked at.
bool depends_on_domain(record_kind kind) {
  return kind != record_kind::id_create && kind != record_kind::id_destroy &&
         field_position(kind, "domain") != most_fields;
}

/// The number at which the list of files ends.
std::uint64_t first_unread(const std::vector<file_survey>& files) {
  const bool last_ends_list = !files.empty() && ends_list(files.back().ending);
  return files.size() - (last_ends_list ? 1 : 0);
}

/// Sends the records of a run through the converter's own processor and counts on the way.
class run_surveyor {
 public:
  run_surveyor(recorded_run& recorded, progress_bar& progress)
      : recorded_(recorded), run_(recorded.summary), progress_(progress) {}

  void survey() {
    recorded_.images = std::make_unique<image_table>();
    recorded_.model = std::make_unique<kzr_data_manager>("");
    if (!open_inputs()) return;
    kzr_data_manager& model = *recorded_.model;
    recorded_.processor =
        std::make_unique<kzr_record_processor>(model, *recorded_.images, run_.omp_experimental);
    try {
      process_records(*recorded_.reader, model, *recorded_.processor);
    } catch (const std::exception& end) {
      tell_end("reading the records", end, malformed_metadata);
      // The warnings are those of the converter, which does not come to the inner graphs.
      take_stock(model);
      return model.complete_inner_graphs();
    }
    complete(model);
    take_stock(model);
  }

 private:
  /// False where the converter would not come to the first record.
  bool open_inputs() {
    const char* step = "opening the trace files";
    const char* malformed = malformed_metadata;
    try {
      recorded_.reader = open();
      step = "reading imageload.csv";
      malformed = "a load time or flag is no number";
      *recorded_.images = read_image_table();
    } catch (const std::exception& end) {
      tell_end(step, end, malformed);
      return false;
    }
    return true;
  }

  std::unique_ptr<multifile_reader> open() {
    const captured_output messages;
    auto reader = std::make_unique<multifile_reader>(run_.stem);
    const std::uint64_t expected = first_unread(run_.files);
    run_.unopened_files = expected - std::min<std::uint64_t>(expected, reader->opened_files());
    return reader;
  }

  /// The standard conversions say no more than their names.
  void tell_end(const char* step, const std::exception& end, const char* malformed) {
    const bool is_conversion = dynamic_cast<const std::logic_error*>(&end) != nullptr;
    run_.converter_end = std::string(step) + ": " + (is_conversion ? malformed : end.what());
  }

  /// What the converter does behind the last record, as far as that can end it.
  void complete(kzr_data_manager& model) {
    const char* step = "completing inner graphs";
    try {
      model.complete_inner_graphs();
      step = "writing the timeline";
      check_concurrency();
    } catch (const std::exception& end) {
      tell_end(step, end, malformed_metadata);
    }
  }

  /// The one thing that can end the writing of the documents.
  void check_concurrency() const {
    if (run_.concurrency.empty()) throw converter_end("no trace file can be used");
    try {
      static_cast<void>(std::stoi(run_.concurrency));
    } catch (const std::logic_error&) {
      throw converter_end("\"" + run_.concurrency + "\" is no number of hardware threads");
    }
  }

  void process_records(multifile_reader& reader, kzr_data_manager& model, kzr_record_processor& processor) {
    trace_record record;
    while (reader.next_record(record)) {
      progress_.add(binary_size_of(record));
      count(record, model);
      processor.process_record(record);
      if (record.kind == record_kind::metadata) note_code_address(record, processor);
    }
  }

  void note_code_address(const trace_record& record, kzr_record_processor& processor) {
    const node_symbol* const node = processor.find_code_owner(record).node;
    if (node != nullptr) recorded_.code_addresses.push_back({node, record.value(), record.timestamp()});
  }

  void count(const trace_record& record, kzr_data_manager& model) {
    ++run_.record_count;
    if (record.kind == record_kind::domain_create_a || record.kind == record_kind::domain_create_w) {
      domain_summary& domain = run_.domains[record.handle()];
      domain.name = text_of(record);
      domain.is_named = true;
      return;
    }
    if (record.kind == record_kind::string_handle_create_a || record.kind == record_kind::metadata_string_a) {
      count_markup(record.narrow_string());
    }
    if (!depends_on_domain(record.kind)) return;
    domain_of(record.domain()).record_count += 1;
    if (model.domains().type_of(record.domain()) == DomainType::unknown) {
      ++run_.ignored_record_count;
      return;
    }
    if (record.kind == record_kind::task_begin) ++open_tasks(record.producer).begun;
    if (record.kind == record_kind::task_end) end_task(open_tasks(record.producer));
  }

  void count_markup(std::string_view text) {
    const bool has_line_break = text.find_first_of("\n\r") != std::string_view::npos;
    const bool has_markup = std::any_of(text.begin(), text.end(), [](char c) {
      return c == '<' || c == '&' || c == '"' || static_cast<unsigned char>(c) < ' ';
    });
    run_.texts_with_line_break += has_line_break ? 1U : 0U;
    run_.texts_with_markup += has_markup ? 1U : 0U;
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

  void take_stock(kzr_data_manager& model) {
    for (auto& [producer, tasks] : run_.tasks) {
      tasks.unmatched_begins = tasks.begun - (tasks.ended - tasks.unmatched_ends);
    }
    for (auto& [handle, domain] : run_.domains) domain.type = model.domains().type_of(handle);
    run_.warnings = model.warnings().counts();
    run_.notes = model.warnings().notes();
    const symbol_counts& made = model.counts();
    run_.model = {.graphs = made.graphs - made.composite_nodes,
                  .nodes = made.nodes,
                  .composite_nodes = made.composite_nodes,
                  .ports = made.ports,
                  .edges_made = model.edges().size(),
                  .edges = model.edges().count_live(),
                  .parallel_regions = made.parallel_regions,
                  .implicit_tasks = made.implicit_tasks,
                  .explicit_tasks = made.explicit_tasks};
  }

  recorded_run& recorded_;
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
  const std::optional<double> frequency = ticks_per_second(run);
  if (run.first_timestamp && frequency) {
    run.duration_seconds = static_cast<double>(*run.last_timestamp - *run.first_timestamp) / *frequency;
  }
}

}  // namespace

std::optional<double> ticks_per_second(const run_summary& run) {
  char* end = nullptr;
  const double frequency = std::strtod(run.frequency.c_str(), &end);
  const bool is_number = end != run.frequency.c_str() && *end == '\0' && std::isfinite(frequency);
  return is_number && frequency > 0 ? std::optional(frequency) : std::nullopt;
}

recorded_run::recorded_run() = default;
recorded_run::recorded_run(recorded_run&&) noexcept = default;
recorded_run::~recorded_run() = default;

recorded_run read_run(const std::string& stem, openmp_paths openmp) {
  recorded_run recorded;
  run_summary& run = recorded.summary;
  run.stem = stem;
  const file_inventory files = list_files(stem);
  progress_bar progress(2 * files.total_bytes);
  run.files = survey_files(stem, progress);
  run.gap = find_gap(stem, first_unread(run.files));
  sum_up_files(run);
  progress.add(files.xml_bytes);
  run.omp_experimental =
      openmp == openmp_paths::on ||
      (openmp == openmp_paths::as_recorded && std::ranges::any_of(run.files, &file_survey::creates_openmp));
  run_surveyor(recorded, progress).survey();
  run.problems = find_problems(run);
  return recorded;
}

run_summary summarise_run(const std::string& stem, bool omp_experimental) {
  return std::move(read_run(stem, omp_experimental ? openmp_paths::on : openmp_paths::off).summary);
}
