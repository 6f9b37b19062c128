// The interface of OpenMP for tools: the runtime finds `ompt_start_tool` and calls back at each event.

#include <omp-tools.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <vector>

#include "recorder/ompt/run_recording.h"
#include "recorder/ompt/thread_recording.h"

namespace {

using kzr::get_run;
using kzr::parallel_region;
using kzr::task_tag;
using kzr::thread_recording;

// What the runtime keeps for us of regions and initial tasks that are not recorded, all of which belong to
// `teams` constructs: there the runtime makes a league of regions and initial tasks of its own.
constexpr std::uint64_t league = 1;
constexpr std::uint64_t task_in_league = 16;

std::uint64_t address_of(const void* code) { return reinterpret_cast<std::uintptr_t>(code); }

task_tag tag_of(const ompt_data_t* task) { return task_tag::of(task == nullptr ? 0 : task->value); }

bool has_flag(int flags, unsigned flag) { return (static_cast<unsigned>(flags) & flag) != 0; }

/// Calls `record` with the recording of this thread, when it has one or `begins` to have one.
template <class F>
void on_event(bool begins, const F& record) noexcept {
  try {
    thread_recording* const thread = begins ? get_run().enter() : get_run().enter_again();
    if (thread == nullptr) return;
    record(*thread);
    get_run().leave(*thread);
  } catch (const std::exception& failure) {
    get_run().stop(failure.what());
  }
}

void on_parallel_begin(ompt_data_t* creator, const ompt_frame_t*, ompt_data_t* region, unsigned int,
                       int flags, const void* code) {
  region->value = 0;
  if (has_flag(flags, ompt_parallel_league)) {
    region->value = league;
    return;
  }
  if (creator != nullptr && creator->value == task_in_league && code == nullptr) return;
  on_event(true, [&](thread_recording& thread) { region->ptr = &thread.begin_region(address_of(code)); });
}

void on_parallel_end(ompt_data_t* region, ompt_data_t*, int, const void*) {
  if (region == nullptr || region->ptr == nullptr || region->value == league) return;
  on_event(false, [&](thread_recording& thread) {
    thread.end_region(*static_cast<const parallel_region*>(region->ptr));
  });
}

void on_implicit_task(ompt_scope_endpoint_t endpoint, ompt_data_t* region, ompt_data_t* task, unsigned int,
                      unsigned int index, int flags) {
  if (task == nullptr) return;
  if (endpoint == ompt_scope_begin) {
    task->value = 0;
    if (region == nullptr || region->value == 0) return;
    if (has_flag(flags, ompt_task_initial)) {
      task->value = region->value == league ? task_in_league : 0;
      return;
    }
    if (region->value == league) return;
    on_event(true, [&](thread_recording& thread) {
      task->value = thread.begin_implicit_task(*static_cast<parallel_region*>(region->ptr), index).value();
    });
  } else if (tag_of(task).is(task_tag::implicit_task)) {
    on_event(false, [](thread_recording& thread) { thread.end_implicit_task(); });
  }
}

void on_sync_region(ompt_sync_region_t kind, ompt_scope_endpoint_t endpoint, ompt_data_t*, ompt_data_t* task,
                    const void* code) {
  const bool begins = endpoint == ompt_scope_begin;
  switch (kind) {
    case ompt_sync_region_taskgroup:
      return on_event(begins, [&](thread_recording& thread) {
        if (begins) {
          thread.begin_task_group(address_of(code));
        } else {
          thread.end_task_group();
        }
      });
    case ompt_sync_region_taskwait:
    case ompt_sync_region_reduction:
      return;
    default:
      break;
  }
  if (!tag_of(task).is(task_tag::implicit_task)) return;
  on_event(false, [&](thread_recording& thread) {
    if (begins) {
      thread.begin_barrier();
    } else {
      thread.end_barrier();
    }
  });
}

void on_task_create(ompt_data_t* creator, const ompt_frame_t*, ompt_data_t* task, int flags, int,
                    const void* code) {
  task->value = 0;
  if (!has_flag(flags, ompt_task_explicit)) {
    on_event(false, [&](thread_recording& thread) { thread.note_wait_for_dependences(address_of(code)); });
    return;
  }
  on_event(true, [&](thread_recording& thread) {
    const bool is_undeferred = has_flag(flags, ompt_task_undeferred);
    const bool is_untied = has_flag(flags, ompt_task_untied);
    task->value = thread.create_task(tag_of(creator), address_of(code), is_undeferred, is_untied).value();
  });
}

void on_dependences(ompt_data_t* task, const ompt_dependence_t* dependences, int count) {
  if (!tag_of(task).is(task_tag::explicit_task) || count <= 0) return;
  on_event(false, [&](thread_recording& thread) {
    thread.begin_dependences(tag_of(task));
    for (int index = 0; index < count; ++index) {
      const ompt_dependence_t& dependence = dependences[index];
      const std::uint64_t address = address_of(dependence.variable.ptr);
      switch (dependence.dependence_type) {
        case ompt_dependence_type_in:
          thread.add_dependence(tag_of(task), address, false);
          break;
        case ompt_dependence_type_out:
        case ompt_dependence_type_inout:
        case ompt_dependence_type_mutexinoutset:
          thread.add_dependence(tag_of(task), address, true);
          break;
        default:
          break;  // of ordered loops, which have no tasks
      }
    }
  });
}

void on_task_schedule(ompt_data_t* from, ompt_task_status_t status, ompt_data_t* to) {
  const bool is_cancelled = status == ompt_task_cancel;
  const bool is_over = status == ompt_task_complete || status == ompt_task_detach || is_cancelled;
  on_event(false, [&](thread_recording& thread) {
    thread.switch_tasks(tag_of(from), is_over, is_cancelled, tag_of(to));
  });
}

void on_thread_end(ompt_data_t*) { get_run().complete_this_thread(); }

int initialize(ompt_function_lookup_t lookup, int, ompt_data_t*) {
  // The runtime's header gives entry points as functions that are to be cast.
  const auto set_callback = reinterpret_cast<ompt_set_callback_t>(lookup("ompt_set_callback"));
  if (set_callback == nullptr) return 0;
  try {
    get_run().prepare(address_of(reinterpret_cast<const void*>(lookup)));
  } catch (const std::exception&) {
    return 0;
  }
  const auto set = [&](ompt_callbacks_t event, auto* callback) {
    set_callback(event, reinterpret_cast<ompt_callback_t>(callback));
  };
  set(ompt_callback_parallel_begin, on_parallel_begin);
  set(ompt_callback_parallel_end, on_parallel_end);
  set(ompt_callback_implicit_task, on_implicit_task);
  set(ompt_callback_sync_region, on_sync_region);
  set(ompt_callback_task_create, on_task_create);
  set(ompt_callback_dependences, on_dependences);
  set(ompt_callback_task_schedule, on_task_schedule);
  set(ompt_callback_thread_end, on_thread_end);
  return 1;
}

void finalize(ompt_data_t*) { get_run().finish(true); }

/// The runtime calls `finalize` only when the program has left all regions. This is called whenever it ends
/// by itself, though regions may follow.
[[gnu::destructor]] void finish_with_process() { get_run().finish(true); }

}  // namespace

extern "C" [[gnu::visibility("default")]] ompt_start_tool_result_t* ompt_start_tool(unsigned int,
                                                                                    const char*) {
  static ompt_start_tool_result_t result = {initialize, finalize, {0}};
  return &result;
}
