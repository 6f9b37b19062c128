#include "processor/model_prefetcher.h"

#include "common/prefetch.h"

namespace {

// How many records are between the one that is processed next and the one whose search is taken a step
// further.
constexpr std::size_t skipped_to_place = 7;
constexpr std::size_t skipped_to_symbol = 4;
constexpr std::size_t skipped_to_ends = 2;
constexpr std::size_t skipped_to_edge_place = 0;
static_assert(skipped_to_place < read_ahead::steps);

constexpr std::int32_t relation_kind = 9;
constexpr std::int32_t handle_kind = 10;
/// The kinds of records that are about symbols, a bit each.
constexpr std::uint32_t searching_kinds =
    1U << 6 | 1U << 7 | 1U << relation_kind | 1U << 12 | 1U << 14 | 1U << 15 | 1U << 16;

bool is_searching(const trace_record& record) { return (searching_kinds >> record.kind & 1) != 0; }

bool is_relation(const trace_record& record) { return record.kind == relation_kind; }

/// How many identifiers a record searches for. What others than relations name second is the parent, mostly
/// that of the record before.
std::size_t count_ids(const trace_record& record) { return is_relation(record) ? 2 : 1; }

}  // namespace

void model_prefetcher::take_steps(const read_ahead& records) {
  const auto known = [this](std::size_t skipped) -> search& {
    return searches_[(turn_ + skipped) % searches_.size()];
  };
  if (const trace_record* const record = records.upcoming(skipped_to_place)) {
    if (is_searching(*record)) fetch_place(*record, known(skipped_to_place));
    if (record->kind == handle_kind) model_.handles().prefetch(record->f[2]);
  }
  if (const trace_record* const record = records.upcoming(skipped_to_symbol)) {
    if (is_searching(*record)) fetch_symbol(*record, known(skipped_to_symbol));
  }
  if (const trace_record* const record = records.upcoming(skipped_to_ends)) {
    if (is_relation(*record)) fetch_ends(known(skipped_to_ends));
  }
  if (const trace_record* const record = records.upcoming(skipped_to_edge_place)) {
    if (is_relation(*record)) fetch_edge_place(known(skipped_to_edge_place));
  }
}

void model_prefetcher::fetch_place(const trace_record& record, search& known) const {
  known = {};
  for (std::size_t i = 0; i < count_ids(record); ++i) {
    known.hashes[i] = flat_hash{}(record.id[i]);
    model_.prefetch_place(known.hashes[i]);
  }
}

void model_prefetcher::fetch_symbol(const trace_record& record, search& known) const {
  for (std::size_t i = 0; i < count_ids(record); ++i) {
    known.symbols[i] = model_.guess_sym(known.hashes[i]);
    if (known.symbols[i] != nullptr) prefetch_two_lines(known.symbols[i]);
  }
}

void model_prefetcher::fetch_ends(search& known) {
  for (kzr_symbol*& symbol : known.symbols) {
    const auto* const port = symbol_cast<port_symbol>(symbol);
    if (port != nullptr) {
      prefetch(&port->node());
    } else {
      symbol = nullptr;
    }
  }
}

void model_prefetcher::fetch_edge_place(const search& known) {
  if (known.symbols[0] == nullptr || known.symbols[1] == nullptr) return;
  const auto& source = static_cast<const port_symbol&>(*known.symbols[0]);
  const auto& target = static_cast<const port_symbol&>(*known.symbols[1]);
  source.node().graph_for_ports().prefetch_edge_place(source, target);
}
