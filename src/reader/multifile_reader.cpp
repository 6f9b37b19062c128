#include "reader/multifile_reader.h"

#include <algorithm>
#include <utility>

multifile_reader::multifile_reader(const std::string& stem) {
  for (int n = 0;; ++n) {
    std::unique_ptr<trace_reader> reader = trace_reader::create_reader(stem, n, texts_);
    if (!reader) break;
    ++opened_files_;
    if (reader->done()) {
      ++damaged_files_;
      continue;
    }
    if (frequency_.empty()) {
      frequency_ = reader->freq();
      concurrency_ = reader->hwc();
    }
    readers_.push_back(std::move(reader));
    push(readers_.size() - 1);
  }
}

bool multifile_reader::next_record(trace_record& record) {
  while (!heap_.empty()) {
    const std::size_t index = pop();
    trace_reader& reader = *readers_[index];
    reader.current_and_advance(record);
    if (record.kind < record_kind::end_of_records) {
      if (reader.has_current()) {
        push(index);
      } else {
        ++damaged_files_;
      }
      return true;
    }
    if (record.kind == record_kind::bad_record) ++damaged_files_;
    readers_[index].reset();
  }
  return false;
}

namespace {
constexpr auto is_later = [](const auto& a, const auto& b) { return a.timestamp > b.timestamp; };
}  // namespace

void multifile_reader::push(std::size_t reader) {
  heap_.push_back({readers_[reader]->timestamp(), reader});
  std::push_heap(heap_.begin(), heap_.end(), is_later);
}

std::size_t multifile_reader::pop() {
  std::pop_heap(heap_.begin(), heap_.end(), is_later);
  const std::size_t reader = heap_.back().reader;
  heap_.pop_back();
  return reader;
}

void multifile_reader::release_texts() {
  constexpr std::size_t enough_bytes = std::size_t{1} << 20;
  if (texts_.taken_bytes() >= enough_bytes) texts_.clear();
}
