#include "examples/parallel_region.h"

#include <thread>

namespace omp {

using kzr::object_id;
using kzr::relation_code;

vocabulary::vocabulary(kzr::trace_recorder& run)
    : recorder(run),
      domain(run.domain("openmp")),
      parallel(run.text("omp_parallel")),
      implicit(run.text("omp_implicit")),
      explicit_task(run.text("omp_explicit")),
      barrier(run.text("omp_barrier")),
      composite(run.text("composite_node")),
      node(run.text("node")),
      object_name(run.text("object_name")),
      code_address(run.text("code_address")),
      graph(run.new_id()) {
  run.announce(domain, graph, {}, run.text("graph"));
}

parallel_region::parallel_region(const vocabulary& words, workspace& shared, std::string_view name,
                                 unsigned threads)
    : parallel_region(words, shared, name, threads, {}, words.graph) {}

parallel_region::parallel_region(parallel_region& outer, unsigned thread, std::string_view name,
                                 unsigned threads)
    : parallel_region(outer.words_, outer.shared_, name, threads, outer.id_,
                      outer.get_implicit_task(thread)) {}

parallel_region::parallel_region(const vocabulary& words, workspace& shared, std::string_view name,
                                 unsigned threads, const object_id& outer_region, const object_id& parent)
    : words_(words),
      shared_(shared),
      threads_(threads),
      id_(words.recorder.new_id()),
      node_{id_.d1, 1, 0},  // readers find a region's node by these words
      parent_(parent) {
  kzr::trace_recorder& recorder = words_.recorder;
  recorder.announce(words_.domain, id_, outer_region, words_.parallel);
  recorder.announce(words_.domain, node_, parent_, words_.composite);
  recorder.describe(words_.domain, node_, words_.object_name, name);
  for (unsigned thread = 0; thread < threads_; ++thread) {
    recorder.announce(words_.domain, get_implicit_task(thread), id_, words_.implicit);
  }
}

void parallel_region::run(region_code code) {
  kzr::trace_recorder& recorder = words_.recorder;
  recorder.describe(words_.domain, node_, words_.code_address, reinterpret_cast<std::uintptr_t>(code));
  recorder.begin_region(words_.domain, node_, parent_, words_.parallel);
  recorder.begin_task(words_.domain, id_, parent_, words_.parallel);
  std::vector<std::thread> others;
  for (unsigned thread = 1; thread < threads_; ++thread) {
    others.emplace_back([this, code, thread] { run_thread(code, thread); });
  }
  run_thread(code, 0);
  for (std::thread& other : others) other.join();
  recorder.end_task(words_.domain);
  recorder.end_region(words_.domain, node_);
}

void parallel_region::run_thread(region_code code, unsigned thread) {
  words_.recorder.begin_task(words_.domain, get_implicit_task(thread), id_, words_.implicit);
  code(*this, thread);
  wait_at_barrier(thread);
  words_.recorder.end_task(words_.domain);
}

void parallel_region::add_task(unsigned thread, std::string_view name, task_code code, std::size_t block,
                               const std::vector<object_id>& reads, const std::vector<object_id>& writes) {
  kzr::trace_recorder& recorder = words_.recorder;
  const object_id id = recorder.new_id();
  const object_id node = {id.d1, 1, 0};
  const object_id creator = get_implicit_task(thread);
  recorder.relate(words_.domain, id, relation_code::is_child_of, creator);
  recorder.announce(words_.domain, node, creator, words_.node);
  recorder.describe(words_.domain, node, words_.object_name, name);
  recorder.describe(words_.domain, id, words_.code_address, reinterpret_cast<std::uintptr_t>(code));

  const std::lock_guard guard(lock_);
  tasks_.push_back(std::make_unique<task>(task{id, creator, code, block, 0, false, {}}));
  task& made = *tasks_.back();
  ++unfinished_;
  // Reads come first: a task that reads and writes a variable depends on the one that wrote it before.
  for (const object_id& read : reads) {
    recorder.relate(words_.domain, read, relation_code::makes_edge_to, node);
    variable& data = variables_[read.d1];
    add_dependence(data.writer, made);
    data.readers.push_back(&made);
  }
  for (const object_id& written : writes) {
    recorder.relate(words_.domain, node, relation_code::makes_edge_to, written);
    variable& data = variables_[written.d1];
    add_dependence(data.writer, made);
    for (task* reader : data.readers) add_dependence(reader, made);
    data = {&made, {}};
  }
  if (made.missing == 0) {
    ready_.push_back(&made);
    changed_.notify_one();
  }
}

void parallel_region::add_dependence(task* before, task& after) {
  if (before == nullptr || before == &after || before->done) return;
  before->successors.push_back(&after);
  ++after.missing;
}

void parallel_region::wait_at_barrier(unsigned thread) {
  words_.recorder.begin_task(words_.domain, get_implicit_task(thread), id_, words_.barrier);
  std::unique_lock guard(lock_);
  ++arrived_;
  const std::uint64_t this_barrier = barriers_passed_;
  while (barriers_passed_ == this_barrier) {
    if (!ready_.empty()) {
      task& next = *ready_.front();
      ready_.pop_front();
      guard.unlock();
      run_task(next);
      guard.lock();
    } else if (arrived_ == threads_ && unfinished_ == 0) {
      arrived_ = 0;
      ++barriers_passed_;
      changed_.notify_all();
    } else {
      changed_.wait(guard);
    }
  }
  guard.unlock();
  words_.recorder.end_task(words_.domain);
}

void parallel_region::run_task(task& ready) {
  words_.recorder.begin_task(words_.domain, ready.id, ready.parent, words_.explicit_task);
  ready.code(shared_, ready.block);
  words_.recorder.end_task(words_.domain);

  const std::lock_guard guard(lock_);
  ready.done = true;
  --unfinished_;
  for (task* successor : ready.successors) {
    if (--successor->missing == 0) ready_.push_back(successor);
  }
  changed_.notify_all();
}

}  // namespace omp
