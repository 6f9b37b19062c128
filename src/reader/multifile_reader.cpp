#include "reader/multifile_reader.h"

#include <utility>

#include "common/prefetch.h"

namespace {
constexpr std::int32_t last_handed_out_kind = 16;
}  // namespace

multifile_reader::multifile_reader(const char* stem) {
  for (int n = 0;; ++n) {
    std::shared_ptr<trace_reader> reader = trace_reader::create_reader(stem, n, store_);
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
    current_bytes_.push_back(reader->current_bytes());
    readers_.push_back(std::move(reader));
    heap_.push(readers_.back()->timestamp(), static_cast<std::uint32_t>(readers_.size() - 1));
  }
}

std::shared_ptr<trace_record> multifile_reader::next_record() {
  while (!heap_.empty()) {
    const std::uint32_t index = heap_.pop();
    trace_reader& reader = *readers_[index];
    std::shared_ptr<trace_record> record = reader.current_and_advance();
    if (record && record->kind <= last_handed_out_kind) {
      if (reader.has_current()) {
        current_bytes_[index] = reader.current_bytes();
        heap_.push(reader.timestamp(), index);
      } else {
        ++damaged_files_;
      }
      // With many files the next one is in no cache any more; this record is handled while it comes.
      if (!heap_.empty()) {
        prefetch_two_lines(readers_[heap_.front()].get());
        prefetch_two_lines(current_bytes_[heap_.front()]);
      }
      return record;
    }
    if (record && record->kind == trace_record::bad_record) ++damaged_files_;
    readers_[index].reset();
  }
  return nullptr;
}

void multifile_reader::release_texts() {
  if (!store_.has_gathered_texts()) return;
  text_arena fresh;
  for (const auto& reader : readers_) {
    if (reader) reader->move_text_ahead(fresh);
  }
  store_.replace_texts(std::move(fresh));
}
