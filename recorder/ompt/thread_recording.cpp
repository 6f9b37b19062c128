#include "recorder/ompt/thread_recording.h"

#include <sched.h>

#include <algorithm>
#include <ctime>
#include <thread>

#include "recorder/ompt/run_recording.h"

namespace kzr {
namespace {

constexpr std::uint64_t ticks_per_second = 1'000'000'000;
/// A block that is not full is written after so many ticks, one with a new region in it earlier: without the
/// region nobody can tell what its tasks are.
constexpr std::uint64_t longest_wait = ticks_per_second / 10;
constexpr std::uint64_t longest_wait_for_region = ticks_per_second / 1000;
constexpr std::uint64_t ids_at_once = 4096;

constexpr std::uint64_t domain = 1;
/// The handles of the texts.
enum text_handle : std::uint64_t {
  graph_text = 2,
  composite_text,
  node_text,
  parallel_text,
  implicit_text,
  explicit_text,
  barrier_text,
  object_name_text,
  code_address_text,
};
constexpr const char* texts[] = {"graph",        "composite_node", "node",
                                 "omp_parallel", "omp_implicit",   "omp_explicit",
                                 "omp_barrier",  "object_name",    "code_address"};

// The first words of objects are even and those of variables odd, so that they never meet.
constexpr object_id graph_id = {2, 0, 0};
constexpr object_id id_of(std::uint64_t number) { return {2 * number, 0, 0}; }
/// Readers find the node of a region or task by these words.
constexpr object_id node_of(std::uint64_t number) { return {2 * number, 1, 0}; }
constexpr object_id implicit_id(std::uint64_t region, std::uint64_t index) {
  return {2 * region, 2 + index, 0};
}

std::uint64_t get_ticks() {
  std::timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * ticks_per_second + static_cast<std::uint64_t>(now.tv_nsec);
}

std::uint64_t get_processor() {
  const int number = sched_getcpu();
  return number < 0 ? 0 : static_cast<std::uint64_t>(number);
}

}  // namespace

thread_recording::system_error thread_recording::open(const std::string& path, std::uint64_t number) {
  number_ = number;
  event_time_ = record_time_ = get_ticks();
  last_write_ = write_due_ = 0;
  scope_ = {};
  open_.reserve(64);
  file_.emplace(trace_form::binary, ticks_per_second, std::thread::hardware_concurrency());
  if (number == 0) {
    // No other file has as early a time, since its thread waits until this one is on disk.
    now().domain(domain, "openmp");
    std::uint64_t handle = graph_text;
    for (const char* const text : texts) now().string_handle(handle++, text);
    now().task_group(domain, graph_id, {}, graph_text);
  }
  // The file is complete from the start: the process may end before the first block is written.
  const std::size_t size_bytes = file_->encoder().view().size();
  now().end();
  return file_->create(path, file_->encoder().view().size() - size_bytes) ? 0 : file_->error();
}

parallel_region& thread_recording::begin_region(std::uint64_t address) {
  take_time();
  settle();
  parallel_region& region = find_unused_region();
  region.id = new_id();
  region.site = get_site(address, site_around());
  region.begun = event_time_;
  region.ended.store(0, std::memory_order_relaxed);
  region.users.store(1, std::memory_order_relaxed);

  const open_entry* const outer = implicit_task();
  const object_id node = node_of(region.id);
  const object_id parent = outer == nullptr ? graph_id : implicit_id(outer->region->id, outer->number);
  now().task_group(domain, id_of(region.id), outer == nullptr ? object_id{} : id_of(outer->region->id),
                   parallel_text);
  now().task_group(domain, node, parent, composite_text);
  const code_site& site = run_.sites().at(region.site);
  now().metadata_string(domain, node, object_name_text, site.name);
  if (site.address != 0) {
    now().metadata(domain, node, code_address_text, value_type::u64, 1, site.address);
  }
  now().region_begin(domain, node, parent, parallel_text);
  now().task_begin(domain, id_of(region.id), parent, parallel_text, get_processor());
  push(opened::region, &region, 0);
  write_due_ = std::min(write_due_, last_write_ + longest_wait_for_region);
  return region;
}

void thread_recording::end_region(const parallel_region& region) {
  take_time();
  for (std::size_t position = open_.size(); position-- > 0;) {
    if (open_[position].what == opened::region && open_[position].region == &region) {
      return end_from(position);
    }
  }
}

task_tag thread_recording::begin_implicit_task(parallel_region& region, std::uint64_t index) {
  region.users.fetch_add(1, std::memory_order_relaxed);
  take_time();
  event_time_ = std::max(event_time_, region.begun + 1);
  const object_id task = implicit_id(region.id, index);
  now().task_group(domain, task, id_of(region.id), implicit_text);
  now().task_begin(domain, task, id_of(region.id), implicit_text, get_processor());
  push(opened::implicit_task, &region, index);
  implicit_task_ = open_.size();
  return task_tag::make(region.id, index, region.site, task_tag::implicit_task);
}

void thread_recording::end_implicit_task() {
  if (implicit_task_ == 0) return;
  take_time();
  end_from(implicit_task_ - 1);
}

void thread_recording::begin_barrier() {
  const open_entry* const task = implicit_task();
  if (task == nullptr) return;
  take_time();
  now().task_begin(domain, implicit_id(task->region->id, task->number), id_of(task->region->id), barrier_text,
                   get_processor());
  push(opened::barrier, task->region, 0);
}

void thread_recording::end_barrier() {
  for (std::size_t position = open_.size(); position > implicit_task_; --position) {
    if (open_[position - 1].what == opened::barrier) {
      take_time();
      return end_from(position - 1);
    }
  }
}

void thread_recording::begin_task_group(std::uint64_t address) { push(opened::task_group, nullptr, address); }

void thread_recording::end_task_group() {
  if (!open_.empty() && open_.back().what == opened::task_group) open_.pop_back();
}

task_tag thread_recording::create_task(task_tag creator, std::uint64_t address, bool is_undeferred,
                                       bool is_untied) {
  take_time();
  if (!open_.empty() && open_.back().what == opened::held_task && open_.back().number != creator.value()) {
    open_.back().what = opened::invented_task;
  }
  settle();
  const code_sites& sites = run_.sites();
  const bool is_of_runtime = sites.is_in_runtime(address);
  if (is_of_runtime) {
    address = address_around();
    if (sites.is_in_runtime(address) && is_undeferred) address = wait_address_;
  }
  wait_address_ = 0;
  const std::uint16_t around = site_around();
  const std::uint16_t site = sites.is_in_runtime(address) ? around : get_site(address, around);
  const bool is_held = is_of_runtime && !is_undeferred;
  std::uint64_t flags = task_tag::explicit_task;
  if (is_untied) flags |= task_tag::untied;
  if (is_held) flags |= task_tag::held;
  const task_tag task =
      task_tag::make(new_id(), implicit_task_ == 0 ? 0 : implicit_task()->number, site, flags);
  scope_ = scope_around(task);
  if (!is_held) record_creation(task, event_time_);
  return task;
}

void thread_recording::begin_dependences(task_tag task) {
  take_time();
  settle();
  if (scope_.task != task.id()) scope_ = scope_around(task);
}

void thread_recording::add_dependence(task_tag task, std::uint64_t address, bool is_write) {
  const object_id variable = {2 * address + 1, scope_.first, scope_.second};
  const object_id node = node_of(task.id());
  // The read comes first: what writes depends on what wrote before.
  now().relation(domain, variable, relation_code::makes_edge_to, node);
  if (is_write) now().relation(domain, node, relation_code::makes_edge_to, variable);
}

void thread_recording::switch_tasks(task_tag from, bool is_over, bool is_cancelled, task_tag to) {
  take_time();
  // An untied task may go on elsewhere, so it ends here; a tied one stays open around what runs meanwhile.
  if (from.is(task_tag::explicit_task) && (is_over || from.is(task_tag::untied))) {
    const std::size_t position = position_of(from);
    if (position < open_.size()) {
      end_from(position);
    } else if (is_cancelled && from.is(task_tag::held)) {
      record_creation(from, event_time_);
    }
  }
  if (!to.is(task_tag::explicit_task)) return;
  const std::size_t position = position_of(to);
  if (position < open_.size()) return end_from(position + 1);
  settle();
  if (to.is(task_tag::held)) {
    push(opened::held_task, nullptr, to.value());
    open_.back().processor = get_processor();
  } else {
    record_begin(to, event_time_, get_processor());
    push(opened::explicit_task, nullptr, to.value());
  }
}

thread_recording::system_error thread_recording::write_when_due() {
  if (!file_->has_full_block() && event_time_ < write_due_) return 0;
  last_write_ = event_time_;
  write_due_ = event_time_ + longest_wait;
  return file_->write_block() ? 0 : file_->error();
}

thread_recording::system_error thread_recording::write_completed() {
  trace_encoder& encoder = file_->encoder();
  const std::size_t size_bytes = encoder.view().size();
  const std::uint64_t now = std::max(record_time_, get_ticks());
  std::uint64_t tick = record_time_;
  for (auto entry = open_.rbegin(); entry != open_.rend(); ++entry) {
    tick = std::max(tick, end_time_of(*entry, now));
    record_end(*entry, encoder, tick);
  }
  encoder.at(tick).end();
  return file_->write_block(encoder.view().size() - size_bytes) ? 0 : file_->error();
}

void thread_recording::close() {
  for (const open_entry& entry : open_) {
    if (entry.what == opened::implicit_task) entry.region->users.fetch_sub(1, std::memory_order_release);
  }
  open_.clear();
  implicit_task_ = 0;
  file_.reset();
}

void thread_recording::take_time() { event_time_ = std::max(record_time_, get_ticks()); }

trace_encoder& thread_recording::at(std::uint64_t tick) {
  record_time_ = tick;
  return file_->encoder().at(tick);
}

std::uint64_t thread_recording::new_id() {
  if (next_id_ == ids_end_) {
    next_id_ = run_.take_ids(ids_at_once);
    ids_end_ = next_id_ + ids_at_once;
  }
  return next_id_++;
}

parallel_region& thread_recording::find_unused_region() {
  for (const auto& region : regions_) {
    if (region->users.load(std::memory_order_acquire) == 0) return *region;
  }
  return *regions_.emplace_back(std::make_unique<parallel_region>());
}

std::uint16_t thread_recording::get_site(std::uint64_t address, std::uint16_t around) {
  if (run_.sites().is_in_runtime(address)) return around;
  known_site& known = known_sites_[address / 4 % known_sites_.size()];
  if (known.address != address) known = {address, run_.sites().get(address, around, event_time_)};
  return known.number;
}

std::uint16_t thread_recording::site_around() const {
  for (std::size_t position = open_.size(); position-- > 0;) {
    const open_entry& entry = open_[position];
    if (entry.what == opened::region || entry.what == opened::implicit_task) return entry.region->site;
    if (entry.what != opened::barrier && entry.what != opened::task_group) {
      return task_tag::of(entry.number).site();
    }
  }
  return 0;
}

std::uint64_t thread_recording::address_around() const {
  return !open_.empty() && open_.back().what == opened::task_group ? open_.back().number : 0;
}

const thread_recording::open_entry* thread_recording::implicit_task() const {
  return implicit_task_ == 0 ? nullptr : &open_[implicit_task_ - 1];
}

thread_recording::dependence_scope thread_recording::scope_around(task_tag created) const {
  for (std::size_t position = open_.size(); position > implicit_task_; --position) {
    const open_entry& entry = open_[position - 1];
    if (entry.what == opened::explicit_task && entry.number != created.value()) {
      return {created.id(), task_tag::of(entry.number).id(), 1};
    }
  }
  const open_entry* const task = implicit_task();
  return task == nullptr ? dependence_scope{created.id(), 0, number_}
                         : dependence_scope{created.id(), task->region->id, 2 + task->number};
}

std::size_t thread_recording::position_of(task_tag task) const {
  for (std::size_t position = open_.size(); position-- > implicit_task_;) {
    const open_entry& entry = open_[position];
    const bool is_task = entry.what == opened::explicit_task || entry.what == opened::held_task ||
                         entry.what == opened::invented_task;
    if (is_task && entry.number == task.value()) return position;
  }
  return open_.size();
}

void thread_recording::push(opened what, parallel_region* region, std::uint64_t number) {
  open_.push_back({what, region, number, event_time_, 0, implicit_task_});
}

void thread_recording::end_from(std::size_t position) {
  while (open_.size() > position) {
    settle();
    const open_entry entry = open_.back();
    open_.pop_back();
    implicit_task_ = entry.outer_implicit_task;
    const std::uint64_t tick = end_time_of(entry, event_time_);
    record_end(entry, at(tick), tick);
    if (entry.what == opened::region) entry.region->ended.store(tick, std::memory_order_release);
    if (entry.what == opened::region || entry.what == opened::implicit_task) {
      entry.region->users.fetch_sub(1, std::memory_order_release);
    }
  }
}

std::uint64_t thread_recording::end_time_of(const open_entry& entry, std::uint64_t now) const {
  // The runtime tells a waiting thread of the end of a region when it has something new to do.
  const bool ends_with_region = entry.what == opened::implicit_task || entry.what == opened::barrier;
  const std::uint64_t ended = ends_with_region ? entry.region->ended.load(std::memory_order_acquire) : 0;
  return ended == 0 ? now : std::clamp(ended, record_time_, now);
}

void thread_recording::record_end(const open_entry& entry, trace_encoder& encoder, std::uint64_t tick) {
  switch (entry.what) {
    case opened::region:
      encoder.at(tick).task_end(domain);
      encoder.at(tick).region_end(domain, node_of(entry.region->id));
      return;
    case opened::implicit_task:
    case opened::barrier:
    case opened::explicit_task:
      encoder.at(tick).task_end(domain);
      return;
    case opened::held_task:
    case opened::invented_task:
    case opened::task_group:
      return;
  }
}

void thread_recording::settle() {
  if (open_.empty() || open_.back().what != opened::held_task) return;
  open_entry& entry = open_.back();
  entry.what = opened::explicit_task;
  const task_tag task = task_tag::of(entry.number);
  record_creation(task, entry.begun);
  record_begin(task, entry.begun, entry.processor);
}

object_id thread_recording::parent_of(task_tag task) const {
  return implicit_task_ == 0 ? graph_id : implicit_id(implicit_task()->region->id, task.creator());
}

void thread_recording::record_creation(task_tag task, std::uint64_t tick) {
  const object_id node = node_of(task.id());
  const object_id parent = parent_of(task);
  if (implicit_task_ != 0) {
    at(tick).relation(domain, id_of(task.id()), relation_code::is_child_of, parent);
  }
  at(tick).task_group(domain, node, parent, node_text);
  const code_site& site = run_.sites().at(task.site());
  at(tick).metadata_string(domain, node, object_name_text, site.name);
  if (site.address != 0) {
    at(tick).metadata(domain, id_of(task.id()), code_address_text, value_type::u64, 1, site.address);
  }
}

void thread_recording::record_begin(task_tag task, std::uint64_t tick, std::uint64_t processor) {
  // Outside all regions no implicit task made it: it is a node like any other.
  const object_id id = implicit_task_ == 0 ? node_of(task.id()) : id_of(task.id());
  at(tick).task_begin(domain, id, parent_of(task), explicit_text, processor);
}

}  // namespace kzr
