#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recorder/ompt/code_sites.h"
#include "recorder/trace_file.h"

namespace kzr {

class run_recording;

/// A parallel region that is running, or was and has threads that did not hear of its end yet.
struct parallel_region {
  std::uint64_t id = 0;
  std::uint16_t site = 0;
  std::uint64_t begun = 0;  ///< tick
  /// Tick at which the region ended, 0 before.
  std::atomic<std::uint64_t> ended = 0;
  /// The thread that opened it while it runs, and every thread that has an implicit task of it open.
  std::atomic<std::uint32_t> users = 0;
};

/// What the runtime keeps for us with a task: all there is to know of it, so that nothing has to be allocated
/// for a task and nothing can be asked for after it has gone. 0 stands for a task that is not recorded.
class task_tag {
 public:
  enum flag : std::uint64_t {
    implicit_task = 1,
    explicit_task = 2,
    untied = 4,
    /// Its creation is not recorded before it begins, see `thread_recording::settle`.
    held = 8,
  };
  static constexpr std::uint64_t last_creator = (1 << 12) - 1;

  static constexpr task_tag of(std::uint64_t value) { return task_tag(value); }
  /// `creator` is the index of the implicit task that makes it.
  static constexpr task_tag make(std::uint64_t id, std::uint64_t creator, std::uint16_t site,
                                 std::uint64_t flags) {
    if (creator > last_creator) creator = last_creator;
    return task_tag(id << 30 | creator << 18 | std::uint64_t{site} << 4 | flags);
  }

  [[nodiscard]] constexpr bool is(flag wanted) const { return (value_ & wanted) != 0; }
  [[nodiscard]] constexpr std::uint64_t id() const { return value_ >> 30; }
  [[nodiscard]] constexpr std::uint64_t creator() const { return value_ >> 18 & last_creator; }
  [[nodiscard]] constexpr std::uint16_t site() const { return value_ >> 4 & (code_sites::most_sites - 1); }
  [[nodiscard]] constexpr std::uint64_t value() const { return value_; }

 private:
  explicit constexpr task_tag(std::uint64_t value) : value_(value) {}

  std::uint64_t value_;
};

/// What one thread records. It keeps what the thread has begun and not ended, innermost last, and turns the
/// runtime's events into records. Only the thread itself calls the events, between `enter` and `leave` of the
/// run; `finish` may look at it when the thread is not in between.
class thread_recording {
 public:
  /// What went wrong when a file could not be written; zero when nothing did.
  using system_error = int;

  explicit thread_recording(run_recording& run) : run_(run) {}

  /// Opens the thread's file `path`, which has this number. The first one has the definitions that all use.
  [[nodiscard]] system_error open(const std::string& path, std::uint64_t number);

  // Events, in the order in which they may come. Addresses are those to which the runtime returns.

  /// The thread opens a region; what it gives back is to be handed to all further events of the region.
  [[nodiscard]] parallel_region& begin_region(std::uint64_t address);
  void end_region(const parallel_region& region);
  [[nodiscard]] task_tag begin_implicit_task(parallel_region& region, std::uint64_t index);
  void end_implicit_task();
  void begin_barrier();
  void end_barrier();
  void begin_task_group(std::uint64_t address);
  void end_task_group();
  /// The task `creator` makes a task. One that is `undeferred` begins at once.
  [[nodiscard]] task_tag create_task(task_tag creator, std::uint64_t address, bool is_undeferred,
                                     bool is_untied);
  /// The runtime makes a task of its own to wait for dependences; its address may be the only one of the
  /// program that the task which then begins has.
  void note_wait_for_dependences(std::uint64_t address) { wait_address_ = address; }
  /// The task depends on its fellows through the variable at `address`. `is_write` when others that come
  /// after depend on it.
  void begin_dependences(task_tag task);
  void add_dependence(task_tag task, std::uint64_t address, bool is_write);
  /// The thread turns from one task to another.
  void switch_tasks(task_tag from, bool is_over, bool is_cancelled, task_tag to);

  // For the run.

  /// Whether the thread is between `enter` and `leave`.
  std::atomic<bool> is_busy = true;
  [[nodiscard]] bool is_open() const { return file_.has_value(); }
  /// Writes a block when it is full or due; see `write_due_`.
  [[nodiscard]] system_error write_when_due();
  /// Writes all there is and completes the file for now: ends what is open.
  [[nodiscard]] system_error write_completed();
  /// Forgets the file, what is open and what was kept for the thread.
  void close();

 private:
  enum class opened : std::uint8_t {
    region,
    implicit_task,
    barrier,
    explicit_task,
    held_task,      ///< begun, but not recorded yet
    invented_task,  ///< of the runtime, not recorded
    task_group,     ///< not recorded
  };
  struct open_entry {
    opened what;
    parallel_region* region;          ///< of a region or implicit task
    std::uint64_t number;             ///< index of an implicit task, tag of a task, address of a group
    std::uint64_t begun;              ///< tick
    std::uint64_t processor;          ///< of a held task
    std::size_t outer_implicit_task;  ///< position of the implicit task around it plus one, 0 without
  };
  /// Who depends on whom is a matter among the tasks of one creator.
  struct dependence_scope {
    std::uint64_t task = 0;
    std::uint64_t first = 0;
    std::uint64_t second = 0;
  };

  void take_time();
  /// The encoder for a record at `tick`.
  [[nodiscard]] trace_encoder& at(std::uint64_t tick);
  [[nodiscard]] trace_encoder& now() { return at(event_time_); }
  [[nodiscard]] std::uint64_t new_id();
  [[nodiscard]] parallel_region& find_unused_region();
  [[nodiscard]] std::uint16_t get_site(std::uint64_t address, std::uint16_t around);
  [[nodiscard]] std::uint16_t site_around() const;
  [[nodiscard]] std::uint64_t address_around() const;
  /// The innermost implicit task, null outside all regions.
  [[nodiscard]] const open_entry* implicit_task() const;
  [[nodiscard]] dependence_scope scope_around(task_tag created) const;
  /// Where the task is among what is open within the implicit task; the number of all when it is not.
  [[nodiscard]] std::size_t position_of(task_tag task) const;

  void push(opened what, parallel_region* region, std::uint64_t number);
  /// Ends all from the position on.
  void end_from(std::size_t position);
  [[nodiscard]] std::uint64_t end_time_of(const open_entry& entry, std::uint64_t now) const;
  static void record_end(const open_entry& entry, trace_encoder& encoder, std::uint64_t tick);

  /// Records that the innermost task exists and began, when that was held back. The runtime cuts large task
  /// loops into tasks of its own that only make other tasks, and tells of them as of any task. They show when
  /// they make a task in the name of another one, so tasks whose address is in the runtime are recorded only
  /// after they did anything else.
  void settle();
  [[nodiscard]] object_id parent_of(task_tag task) const;
  void record_creation(task_tag task, std::uint64_t tick);
  void record_begin(task_tag task, std::uint64_t tick, std::uint64_t processor);

  run_recording& run_;
  std::optional<trace_file> file_;
  std::uint64_t number_ = 0;
  std::uint64_t event_time_ = 0;
  std::uint64_t record_time_ = 0;  ///< of the last record
  /// Tick from which on the block is written even when it is not full, so that of a program that is killed
  /// little is lost.
  std::uint64_t write_due_ = 0;
  std::uint64_t last_write_ = 0;
  std::uint64_t next_id_ = 0;
  std::uint64_t ids_end_ = 0;
  std::uint64_t wait_address_ = 0;
  dependence_scope scope_;  ///< of the task made last, or that has dependences now
  std::vector<open_entry> open_;
  std::size_t implicit_task_ = 0;  ///< position of the innermost implicit task plus one, 0 without
  /// Regions that this thread opened, to be used again when nobody does.
  std::vector<std::unique_ptr<parallel_region>> regions_;
  struct known_site {
    std::uint64_t address = 0;
    std::uint16_t number = 0;
  };
  std::array<known_site, 64> known_sites_{};
};

}  // namespace kzr
