// What it takes to write the records of an explicit task into a block, without clock, processor number and
// disk.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "recorder/trace_encoder.h"

namespace {

constexpr std::uint64_t repetitions = 2'000'000;
constexpr std::size_t block_bytes = std::size_t{256} * 1024;

/// Nanoseconds of a record, the best of several turns.
template <class F>
double measure(const F& write) {
  kzr::trace_encoder encoder(kzr::trace_form::binary, 1'000'000'000, 2);
  double best = 1e9;
  for (int turn = 0; turn < 5; ++turn) {
    const auto begin = std::chrono::steady_clock::now();
    for (std::uint64_t number = 0; number < repetitions; ++number) {
      if (encoder.view().size() >= block_bytes) encoder.clear();
      write(encoder.at(number), number);
    }
    const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - begin;
    best = std::min(best, elapsed.count() / repetitions);
  }
  return best;
}

}  // namespace

int main() {
  using encoder = kzr::trace_encoder;
  using kzr::object_id;
  constexpr object_id parent = {2, 3, 0};
  const auto show = [](const char* record, double nanoseconds) {
    std::printf("%-16s %5.1f ns\n", record, nanoseconds);
  };
  show("task_group", measure([&](encoder& to, std::uint64_t n) { to.task_group(1, {n, 1, 0}, parent, 4); }));
  show("relation", measure([&](encoder& to, std::uint64_t n) {
         to.relation(1, {n, 0, 0}, kzr::relation_code::is_child_of, parent);
       }));
  show("metadata", measure([](encoder& to, std::uint64_t n) {
         to.metadata(1, {n, 0, 0}, 10, kzr::value_type::u64, 1, n);
       }));
  show("metadata_stringA", measure([](encoder& to, std::uint64_t n) {
         to.metadata_string(1, {n, 1, 0}, 9, std::string_view("a_function"));
       }));
  show("task_begin", measure([&](encoder& to, std::uint64_t n) {
         to.task_begin(1, {n, 0, 0}, parent, 7, 1);
       }));
  show("task_end", measure([](encoder& to, std::uint64_t) { to.task_end(1); }));
  return 0;
}
