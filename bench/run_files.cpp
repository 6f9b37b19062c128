#include "bench/run_files.h"

#include <algorithm>

namespace kzr::bench {

trace_file::trace_file(const std::string& directory, std::size_t number, trace_form form)
    : encoder_(form, frequency, concurrency) {
  file_.exceptions(std::ios::failbit | std::ios::badbit);
  file_.open(directory + "/_kzr." + std::to_string(number), std::ios::binary | std::ios::trunc);
}

trace_encoder& trace_file::at(std::uint64_t time) {
  constexpr std::size_t block_bytes = std::size_t{256} * 1024;
  if (encoder_.view().size() >= block_bytes) flush();
  ++record_count_;
  return encoder_.at(time);
}

void trace_file::finish(std::uint64_t time) {
  encoder_.at(time).end();
  flush();
  file_.close();
}

void trace_file::flush() {
  file_.write(encoder_.view().data(), static_cast<std::streamsize>(encoder_.view().size()));
  encoder_.clear();
}

thread_files::thread_files(const std::string& directory, std::size_t count, trace_form form) {
  for (std::size_t number = 0; number < count; ++number) files_.emplace_back(directory, number, form);
}

trace_encoder& thread_files::on(std::size_t thread) {
  now_ += 20 + random_() % 400;
  return files_[thread].at(now_);
}

std::uint64_t thread_files::finish(std::uint64_t last_time) {
  now_ = std::max(now_, last_time);
  std::uint64_t records = 0;
  for (trace_file& file : files_) {
    file.finish(++now_);
    records += file.record_count();
  }
  return records;
}

}  // namespace kzr::bench
