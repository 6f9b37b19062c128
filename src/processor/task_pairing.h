#pragma once

#include <cstdint>
#include <map>

/// How many events end an OpenMP task. The begin of an implicit task or barrier appends two events and other
/// begins one, while the records of their ends are all alike; so the next ends of a producer are known to be
/// of begins with one event. Without the sub-graph paths no begin is noted, and every OpenMP end appends two.
class task_pairing {
 public:
  /// A begin appended one event.
  void note_begin(int producer, bool is_openmp) {
    producer_tasks& tasks = tasks_[producer];
    ++tasks.open;
    if (is_openmp) ++tasks.single_ends;
  }
  /// The begin of an implicit task or barrier.
  void note_implicit_begin(int producer) { tasks_[producer].open += 2; }
  /// The begin of a parallel region, which opens no task in the timeline: its own end and that of the
  /// implicit task in it together close what the latter opened.
  void note_region_begin(int producer) {
    producer_tasks& tasks = tasks_[producer];
    if (tasks.open > 0) tasks.single_ends += 2;
  }
  /// How many events the next end of the producer appends.
  [[nodiscard]] int end_task(int producer, bool is_openmp);

 private:
  struct producer_tasks {
    std::uint64_t single_ends = 0;  ///< how many of the next OpenMP ends append one event instead of two
    std::uint64_t open = 0;         ///< tasks open in the timeline
  };

  std::map<int, producer_tasks> tasks_;
};
