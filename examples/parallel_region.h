#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "recorder/trace_recorder.h"

/// Parallel regions and tasks in the manner of OpenMP, made of plain threads, that record what they do.
namespace omp {

/// What the tasks work on; the program's own.
struct workspace;

class parallel_region;

/// What every thread of a region runs, and what a task does.
using region_code = void (*)(parallel_region& region, unsigned thread);
using task_code = void (*)(workspace& shared, std::size_t block);

/// The handles that all regions of a run use, and the graph that holds them.
struct vocabulary {
  explicit vocabulary(kzr::trace_recorder& run);

  kzr::trace_recorder& recorder;
  std::uint64_t domain;
  std::uint64_t parallel;
  std::uint64_t implicit;
  std::uint64_t explicit_task;
  std::uint64_t barrier;
  std::uint64_t composite;
  std::uint64_t node;
  std::uint64_t object_name;
  std::uint64_t code_address;
  kzr::object_id graph;
};

/// One parallel region. The thread that makes it becomes its thread 0; `run` starts the others and ends after
/// the barrier at the region's end. What it is made from must outlive it.
class parallel_region {
 public:
  /// A region at the top of the run.
  parallel_region(const vocabulary& words, workspace& shared, std::string_view name, unsigned threads);
  /// A region within `outer`, opened by that region's thread `thread`.
  parallel_region(parallel_region& outer, unsigned thread, std::string_view name, unsigned threads);

  void run(region_code code);

  // For the code that runs in the region.

  /// Makes a task that runs when all tasks made before it that it depends on are done: the last writer of
  /// each variable, and for a written variable all readers since.
  void add_task(unsigned thread, std::string_view name, task_code code, std::size_t block,
                const std::vector<kzr::object_id>& reads, const std::vector<kzr::object_id>& writes);
  /// Runs tasks until there are none left and all threads have come here.
  void wait_at_barrier(unsigned thread);

  [[nodiscard]] workspace& shared() { return shared_; }

 private:
  struct task {
    kzr::object_id id;
    kzr::object_id parent;
    task_code code;
    std::size_t block;
    std::size_t missing = 0;  ///< tasks it still waits for
    bool done = false;
    std::vector<task*> successors;
  };
  struct variable {
    task* writer = nullptr;
    std::vector<task*> readers;
  };

  parallel_region(const vocabulary& words, workspace& shared, std::string_view name, unsigned threads,
                  const kzr::object_id& outer_region, const kzr::object_id& parent);

  [[nodiscard]] kzr::object_id get_implicit_task(unsigned thread) const { return {id_.d1, 2 + thread, 0}; }
  void run_thread(region_code code, unsigned thread);
  void run_task(task& ready);
  static void add_dependence(task* before, task& after);

  const vocabulary& words_;
  workspace& shared_;
  const unsigned threads_;
  const kzr::object_id id_;
  const kzr::object_id node_;    ///< stands for the region in the graph
  const kzr::object_id parent_;  ///< of that node

  std::mutex lock_;  ///< for the members below
  std::condition_variable changed_;
  std::vector<std::unique_ptr<task>> tasks_;
  std::deque<task*> ready_;
  std::size_t unfinished_ = 0;
  unsigned arrived_ = 0;
  std::uint64_t barriers_passed_ = 0;
  std::map<std::uint64_t, variable> variables_;  ///< by the first word of the identifier
};

}  // namespace omp
