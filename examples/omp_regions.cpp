// Looks for the longest Collatz sequences with parallel regions, dependent tasks and a nested region, and
// records the run.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "examples/parallel_region.h"

namespace omp {

constexpr std::size_t block_count = 8;
constexpr std::size_t block_numbers = 3000;
constexpr unsigned rounds = 3;
constexpr unsigned team_size = 4;

/// Blocks of sequence lengths, and what the tasks find in them. The identifiers are those of the variables.
struct workspace {
  std::array<std::array<unsigned, block_numbers>, block_count> lengths{};
  std::array<kzr::object_id, block_count> lengths_id;
  std::array<unsigned, block_count> rounds_filled{};
  std::array<unsigned, block_count> longest{};
  std::array<kzr::object_id, block_count> longest_id;
  std::array<double, block_count> mean{};
  std::array<kzr::object_id, block_count> mean_id;
  std::array<unsigned, block_count> odd{};
  std::array<kzr::object_id, block_count> odd_id;
  std::array<unsigned, block_count> histogram{};
};

}  // namespace omp

namespace {

using omp::block_count;
using omp::parallel_region;
using omp::workspace;

unsigned get_collatz_length(std::uint64_t number) {
  unsigned length = 1;
  for (; number != 1; ++length) number = number % 2 == 0 ? number / 2 : 3 * number + 1;
  return length;
}

/// Writes a block: the lengths for the numbers of the block's next round.
void fill_block(workspace& shared, std::size_t block) {
  const std::size_t first = (shared.rounds_filled[block]++ * block_count + block) * omp::block_numbers + 1;
  for (std::size_t index = 0; index < omp::block_numbers; ++index) {
    shared.lengths[block][index] = get_collatz_length(first + index);
  }
}

// Three readers of a block.

void find_longest(workspace& shared, std::size_t block) {
  shared.longest[block] = std::max(shared.longest[block], *std::ranges::max_element(shared.lengths[block]));
}

void find_mean(workspace& shared, std::size_t block) {
  double sum = 0;
  for (const unsigned length : shared.lengths[block]) sum += length;
  shared.mean[block] = sum / omp::block_numbers;
}

void count_odd(workspace& shared, std::size_t block) {
  shared.odd[block] += static_cast<unsigned>(
      std::ranges::count_if(shared.lengths[block], [](unsigned length) { return length % 2 != 0; }));
}

/// Thread 0 makes the tasks of all rounds, and all threads run them at the barrier.
void explore(parallel_region& region, unsigned thread) {
  if (thread != 0) return;
  const workspace& shared = region.shared();
  for (unsigned round = 0; round < omp::rounds; ++round) {
    for (std::size_t block = 0; block < block_count; ++block) {
      std::string suffix = std::to_string(block);
      suffix.insert(0, 1, ' ').append(", round ").append(std::to_string(round));
      const kzr::object_id& lengths = shared.lengths_id[block];
      region.add_task(thread, "fill" + suffix, fill_block, block, {}, {lengths});
      region.add_task(thread, "longest" + suffix, find_longest, block, {lengths}, {shared.longest_id[block]});
      region.add_task(thread, "mean" + suffix, find_mean, block, {lengths}, {shared.mean_id[block]});
      region.add_task(thread, "odd" + suffix, count_odd, block, {lengths}, {shared.odd_id[block]});
    }
  }
}

/// The inner region: each thread counts every other block.
void count_long_sequences(parallel_region& region, unsigned thread) {
  workspace& shared = region.shared();
  for (std::size_t block = thread; block < block_count; block += 2) {
    shared.histogram[block] = static_cast<unsigned>(
        std::ranges::count_if(shared.lengths[block], [](unsigned length) { return length > 100; }));
  }
}

/// One thread opens a region of its own, the others wait for it at a barrier.
void summarise(parallel_region& region, unsigned thread) {
  if (thread == 1) {
    parallel_region inner(region, thread, "count long sequences", 2);
    inner.run(count_long_sequences);
  }
  region.wait_at_barrier(thread);
}

}  // namespace

int main(int argc, char** argv) {
  const bool is_xml = argc == 2 && std::string_view(argv[1]) == "--xml";
  if (argc > 2 || (argc == 2 && !is_xml)) {
    std::fprintf(stderr, "usage: omp_regions [--xml]\n");
    return 2;
  }
  kzr::trace_recorder recorder(is_xml ? kzr::trace_form::xml : kzr::trace_form::binary);
  recorder.write_image_list();
  workspace shared;
  for (auto* ids : {&shared.lengths_id, &shared.longest_id, &shared.mean_id, &shared.odd_id}) {
    for (kzr::object_id& id : *ids) id = recorder.new_id();
  }
  const omp::vocabulary words(recorder);
  parallel_region(words, shared, "explore", omp::team_size).run(explore);
  parallel_region(words, shared, "summarise", omp::team_size).run(summarise);

  for (std::size_t block = 0; block < block_count; ++block) {
    std::printf("block %zu: longest %u, last mean %.1f, odd %u, long in the last round %u\n", block,
                shared.longest[block], shared.mean[block], shared.odd[block], shared.histogram[block]);
  }
  if (recorder.failed()) {
    std::fprintf(stderr, "omp_regions: the recording in %s is not complete\n", recorder.directory().c_str());
    return 1;
  }
  std::printf("recorded in %s\n", recorder.directory().c_str());
  return 0;
}
