#include "processor/task_pairing.h"

#include <algorithm>

int task_pairing::end_task(int producer, bool is_openmp) {
  producer_tasks& tasks = tasks_[producer];
  int events = 1;
  if (is_openmp && tasks.single_ends > 0) {
    --tasks.single_ends;
  } else if (is_openmp) {
    events = 2;
  }
  tasks.open -= std::min<std::uint64_t>(tasks.open, static_cast<std::uint64_t>(events));
  return events;
}
