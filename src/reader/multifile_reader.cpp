#include "reader/multifile_reader.h"

#include <algorithm>
#include <utility>

namespace {
constexpr std::int32_t last_handed_out_kind = 16;
}  // namespace

multifile_reader::multifile_reader(const char* stem) {
  for (int n = 0;; ++n) {
    std::shared_ptr<trace_reader> reader = trace_reader::create_reader(stem, n, texts_);
    if (!reader) break;
    if (reader->done()) continue;
    if (frequency_.empty()) {
      frequency_ = reader->freq();
      concurrency_ = reader->hwc();
    }
    readers_.push_back(std::move(reader));
    push(readers_.size() - 1);
  }
}

void multifile_reader::push(std::size_t reader) {
  heap_.push_back({readers_[reader]->current()->f[1], reader});
  std::push_heap(heap_.begin(), heap_.end(), ts_reverse_ordering{});
}

std::shared_ptr<trace_record> multifile_reader::next_record() {
  while (!heap_.empty()) {
    std::pop_heap(heap_.begin(), heap_.end(), ts_reverse_ordering{});
    const std::size_t reader = heap_.back().reader;
    heap_.pop_back();
    std::shared_ptr<trace_record> record = readers_[reader]->current_and_advance();
    if (record && record->kind <= last_handed_out_kind) {
      if (readers_[reader]->current()) push(reader);
      return record;
    }
    readers_[reader].reset();
  }
  return nullptr;
}
