#include "driver/record_loop.h"

#include "common/look_ahead.h"
#include "common/prefetch.h"
#include "driver/conversion.h"
#include "model/kzr_data_manager.h"
#include "model/port_symbol.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"

namespace {

/// Fetches what upcoming records look up in the model: first the slots of their identifiers, some records
/// later the symbols that these name, then the nodes and the slot of an edge. Each has to come from memory
/// before the next one is known.
class model_fetcher {
 public:
  static constexpr std::size_t most_steps = 8;
  using record_queue = look_ahead<trace_record, most_steps>;

  explicit model_fetcher(const kzr_data_manager& model) : model_(model) {}

  void fetch(const record_queue& records) const {
    if (const trace_record* const record = records.upcoming(most_steps)) {
      for_each_id(*record, [this](const ___onx_id& id) { model_.symbols().prefetch_slot(id); });
      if (record->kind == record_kind::string_handle_create_a) model_.handles().prefetch(record->handle());
    }
    if (const trace_record* const record = records.upcoming(5)) {
      for_each_id(*record, [this](const ___onx_id& id) {
        if (const kzr_symbol* const symbol = model_.symbols().guess(id)) prefetch_two_lines(symbol);
      });
    }
    if (const trace_record* const record = records.upcoming(3)) {
      const auto [source, target] = ends_of(*record);
      if (source != nullptr) prefetch(&source->node());
      if (source != nullptr && target != nullptr) model_.edges().prefetch(*source, *target);
    }
  }

 private:
  template <class Visit>
  static void for_each_id(const trace_record& record, Visit visit) {
    if (record.id[0] == ___onx_id{}) return;
    visit(record.id[0]);
    // What other records than relations name second is their parent, mostly that of the record before.
    if (record.kind == record_kind::relation) visit(record.id[1]);
  }

  struct edge_ends {
    const port_symbol* source = nullptr;
    const port_symbol* target = nullptr;
  };
  [[nodiscard]] edge_ends ends_of(const trace_record& record) const {
    if (record.kind != record_kind::relation) return {};
    return {symbol_cast<port_symbol>(model_.symbols().guess(record.head())),
            symbol_cast<port_symbol>(model_.symbols().guess(record.tail()))};
  }

  const kzr_data_manager& model_;
};

}  // namespace

void process_records(multifile_reader& traces, const kzr_data_manager& model, kzr_record_processor& processor,
                     conversion_watcher* watcher) {
  const auto process = [&processor, watcher](const trace_record& record) {
    if (watcher != nullptr) watcher->on_record(record);
    processor.process_record(record);
  };
  // Looking ahead has its price, which small models do not pay back.
  trace_record single;
  while (!model.is_large() && traces.next_record(single)) process(single);

  const model_fetcher fetcher(model);
  model_fetcher::record_queue records;
  bool ends_run = false;
  const auto read = [&traces, &ends_run](trace_record& record) {
    // Such a handle ends the run when it is processed, and so before anything behind it can.
    if (ends_run || !traces.next_record(record)) return false;
    ends_run = record.kind == record_kind::string_handle_create_w;
    return true;
  };
  while (const trace_record* const record = records.next(read)) {
    fetcher.fetch(records);
    process(*record);
  }
}
