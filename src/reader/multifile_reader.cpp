#include "reader/multifile_reader.h"

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
    heap_.push(reader->timestamp(), static_cast<std::uint32_t>(readers_.size()));
    readers_.push_back(std::move(reader));
  }
}

bool multifile_reader::next_record(trace_record& record) {
  while (next_record_or_end(record)) {
    if (record.kind != record_kind::end_of_records) return true;
  }
  return false;
}

bool multifile_reader::next_record_or_end(trace_record& record) {
  while (!heap_.empty()) {
    const std::uint32_t index = heap_.pop();
    trace_reader& reader = *readers_[index];
    reader.current_and_advance(record);
    const bool is_end = record.kind == record_kind::end_of_records;
    if (!is_end && is_described(record.kind)) {
      if (reader.has_current()) {
        heap_.push(reader.timestamp(), index);
      } else {
        ++damaged_files_;
      }
      return true;
    }
    readers_[index].reset();
    if (is_end) return true;
    ++damaged_files_;
  }
  return false;
}

void multifile_reader::release_texts() {
  if (texts_.taken_bytes() >= kept_text_bytes) texts_.clear();
}
