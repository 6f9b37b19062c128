// One of four loads for an OpenMP runtime; prints the seconds that it took. With a third argument it records
// itself with the recorder of the library, what is recorded of each task and region from outside.
#include <omp.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "recorder/trace_recorder.h"

namespace {

double get_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// The recorder and the handles of the vocabulary.
struct recording {
  kzr::trace_recorder run;
  std::uint64_t domain = run.domain("openmp");
  std::uint64_t parallel = run.text("omp_parallel");
  std::uint64_t implicit = run.text("omp_implicit");
  std::uint64_t task = run.text("omp_explicit");
  std::uint64_t barrier = run.text("omp_barrier");
  std::uint64_t composite = run.text("composite_node");
  std::uint64_t node = run.text("node");
  std::uint64_t name = run.text("object_name");
  std::uint64_t address = run.text("code_address");
  kzr::object_id graph = announced_graph();

  kzr::object_id announced_graph() {
    const kzr::object_id id = run.new_id();
    run.announce(domain, id, {}, run.text("graph"));
    return id;
  }
};

std::optional<recording> own;

/// A region, each thread of which has a part.
class recorded_region {
 public:
  recorded_region() {
    if (!own) return;
    id_ = own->run.new_id();
    own->run.announce(own->domain, id_, {}, own->parallel);
    own->run.announce(own->domain, node(), own->graph, own->composite);
    own->run.describe(own->domain, node(), own->name, "make_tasks");
    own->run.describe(own->domain, node(), own->address, 4096);
    own->run.begin_region(own->domain, node(), own->graph, own->parallel);
    own->run.begin_task(own->domain, id_, own->graph, own->parallel);
  }
  recorded_region(const recorded_region&) = delete;
  recorded_region& operator=(const recorded_region&) = delete;
  ~recorded_region() {
    if (!own) return;
    own->run.end_task(own->domain);
    own->run.end_region(own->domain, node());
  }

  /// That of the calling thread.
  [[nodiscard]] kzr::object_id part() const {
    return {id_.d1, 2 + static_cast<std::uint64_t>(omp_get_thread_num()), 0};
  }
  void begin_part() const {
    if (!own) return;
    own->run.announce(own->domain, part(), id_, own->implicit);
    own->run.begin_task(own->domain, part(), id_, own->implicit);
  }
  void end_part() const {
    if (!own) return;
    own->run.begin_task(own->domain, part(), id_, own->barrier);
    own->run.end_task(own->domain);
    own->run.end_task(own->domain);
  }

 private:
  [[nodiscard]] kzr::object_id node() const { return {id_.d1, 1, 0}; }

  kzr::object_id id_;
};

kzr::object_id make_task(const kzr::object_id& parent) {
  if (!own) return {};
  const kzr::object_id id = own->run.new_id();
  const kzr::object_id node = {id.d1, 1, 0};
  own->run.relate(own->domain, id, kzr::relation_code::is_child_of, parent);
  own->run.announce(own->domain, node, parent, own->node);
  own->run.describe(own->domain, node, own->name, "make_tasks");
  own->run.describe(own->domain, id, own->address, 4096);
  return id;
}
void begin_task(const kzr::object_id& id, const kzr::object_id& parent) {
  if (own) own->run.begin_task(own->domain, id, parent, own->task);
}
void end_task() {
  if (own) own->run.end_task(own->domain);
}

void work(long steps) {
  volatile long sum = 0;
  for (long i = 0; i < steps; ++i) sum = sum + i;
}

/// How many steps take a microsecond here.
long find_steps() {
  constexpr long steps = 20'000'000;
  const double begin = get_seconds();
  work(steps);
  return static_cast<long>(steps / ((get_seconds() - begin) * 1e6));
}

}  // namespace

// Their names are in the recording as they are here.

static void make_tasks(long count, long steps) {
  const recorded_region region;
#pragma omp parallel num_threads(2)
  {
    region.begin_part();
#pragma omp single
    for (long i = 0; i < count; ++i) {
      const kzr::object_id parent = region.part();
      const kzr::object_id id = make_task(parent);
#pragma omp task
      {
        begin_task(id, parent);
        work(steps);
        end_task();
      }
    }
    region.end_part();
  }
}

static int fibonacci(int n, const kzr::object_id& parent) {
  if (n < 2) return n;
  int first = 0;
  int second = 0;
  const kzr::object_id ids[] = {make_task(parent), make_task(parent)};
#pragma omp task shared(first)
  {
    begin_task(ids[0], parent);
    first = fibonacci(n - 1, parent);
    end_task();
  }
#pragma omp task shared(second)
  {
    begin_task(ids[1], parent);
    second = fibonacci(n - 2, parent);
    end_task();
  }
#pragma omp taskwait
  return first + second;
}

int main(int argc, char** argv) {
  if (argc != 3 && argc != 4) return 2;
  const std::string_view load = argv[1];
  const long count = std::atol(argv[2]);
  const long steps = find_steps();
  if (argc == 4) own.emplace();
  const double begin = get_seconds();
  if (load == "microsecond_tasks") {
    make_tasks(count, steps);
  } else if (load == "empty_tasks") {
    make_tasks(count, 0);
  } else if (load == "fibonacci") {
    const recorded_region region;
#pragma omp parallel num_threads(2)
    {
      region.begin_part();
#pragma omp single
      fibonacci(static_cast<int>(count), region.part());
      region.end_part();
    }
  } else if (load == "empty_regions") {
    for (long i = 0; i < count; ++i) {
      const recorded_region region;
#pragma omp parallel num_threads(2)
      {
        region.begin_part();
        __asm__ volatile("");
        region.end_part();
      }
    }
  } else {
    return 2;
  }
  std::printf("%.4f\n", get_seconds() - begin);
  return 0;
}
