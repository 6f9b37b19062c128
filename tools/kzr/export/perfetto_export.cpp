#include "kzr/export/perfetto_export.h"

#include <algorithm>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "analysis/thread_lines.h"
#include "kzr/common/utf8.h"
#include "kzr/export/busy_threads.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/nanosecond_clock.h"
#include "kzr/export/protobuf_message.h"
#include "kzr/export/region_tracks.h"
#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"
#include "kzr/report/run_report.h"

namespace {

/// What a browser has been seen to open.
constexpr std::uint64_t most_slices = 5'000'000;

constexpr std::uint64_t pid = 1;
constexpr std::uint64_t sequence = 1;

// The numbers of the fields, by message.
namespace trace {
constexpr unsigned packet = 1;
}
namespace packet {
constexpr unsigned timestamp = 8, sequence_id = 10, track_event = 11, interned_data = 12, sequence_flags = 13,
                   track_descriptor = 60, first_on_sequence = 87;
constexpr std::uint64_t needs_state = 2, clears_state = 1;
}  // namespace packet
namespace descriptor {
constexpr unsigned uuid = 1, name = 2, process = 3, thread = 4, parent_uuid = 5, counter = 8,
                   sibling_merge_behavior = 15;
constexpr std::uint64_t merge_none = 2;
constexpr unsigned process_pid = 1, process_name = 6;
constexpr unsigned thread_pid = 1, thread_tid = 2, thread_name = 5;
}  // namespace descriptor
namespace event {
constexpr unsigned category_iids = 3, type = 9, name_iid = 10, track_uuid = 11, counter_value = 30,
                   correlation_id = 52;
constexpr std::uint64_t slice_begin = 1, slice_end = 2, instant = 3, counter = 4;
}  // namespace event
namespace interned {
constexpr unsigned categories = 1, names = 2;
constexpr unsigned iid = 1, text = 2;
}  // namespace interned

class perfetto_writer {
 public:
  perfetto_writer(const exported_run& run, byte_sink& out)
      : report_(run.report),
        executions_(report_.executions),
        marks_(report_.marks),
        clock_(report_, run.watch),
        out_(out),
        is_interned_(report_.nodes.size() + marks_.text_count()) {}

  void write() {
    write_descriptors();
    const std::vector<user_event_place> user_events = user_events_by_thread();
    std::span<const user_event_place> left = user_events;
    for (int thread = 0; thread < marks_.thread_count(); ++thread) {
      const auto behind = std::ranges::upper_bound(left, thread, {}, &user_event_place::first);
      const auto count = static_cast<std::size_t>(behind - left.begin());
      write_thread(thread, left.first(count));
      left = left.subspan(count);
    }
    count_busy_threads(executions_, clock_, [this](std::uint64_t time, std::uint64_t busy_threads) {
      begin_event(event::counter, counter_track);
      event_.add(event::counter_value, busy_threads);
      write_event(time);
    });
    lay_out_regions(marks_.regions(), [this](const region_line& line) {
      write_slice_line(line.is_begin, region_track(line.track), line.region.node, line.time());
    });
  }

 private:
  /// The number of a user event behind that of its thread.
  using user_event_place = std::pair<int, std::uint32_t>;

  // The ids of tracks.
  static constexpr std::uint64_t process_track = 1, counter_track = 2, first_thread_track = 3;
  static std::uint64_t thread_track(int thread) {
    return first_thread_track + static_cast<std::uint64_t>(thread);
  }
  [[nodiscard]] std::uint64_t region_track(std::uint32_t number) const {
    return thread_track(marks_.thread_count()) + number;
  }

  void write_descriptors() {
    protobuf_message process;
    process.add(descriptor::process_pid, pid);
    process.add(descriptor::process_name, valid_utf8(report_.name));
    begin_descriptor(process_track);
    descriptor_.add(descriptor::process, process);
    write_descriptor();
    for (int thread = 0; thread < marks_.thread_count(); ++thread) {
      if (marks_.has_lines_of(thread)) write_thread_descriptor(thread);
    }
    begin_descriptor(counter_track);
    descriptor_.add(descriptor::name, "busy threads");
    descriptor_.add(descriptor::parent_uuid, process_track);
    descriptor_.add(descriptor::counter, protobuf_message());
    write_descriptor();
    const std::uint32_t region_tracks = lay_out_regions(marks_.regions(), [](const region_line&) {});
    for (std::uint32_t number = 0; number < region_tracks; ++number) {
      begin_descriptor(region_track(number));
      descriptor_.add(descriptor::name, "regions");
      descriptor_.add(descriptor::parent_uuid, process_track);
      // Viewers would put tracks of one name on one line.
      descriptor_.add(descriptor::sibling_merge_behavior, descriptor::merge_none);
      write_descriptor();
    }
  }

  void write_thread_descriptor(int number) {
    protobuf_message thread;
    thread.add(descriptor::thread_pid, pid);
    // Viewers take 0 for the thread that idles.
    thread.add(descriptor::thread_tid, static_cast<std::uint64_t>(number) + 1);
    thread.add(descriptor::thread_name, "thread " + std::to_string(number));
    begin_descriptor(thread_track(number));
    descriptor_.add(descriptor::thread, thread);
    descriptor_.add(descriptor::parent_uuid, process_track);
    write_descriptor();
  }

  void begin_descriptor(std::uint64_t track) {
    descriptor_.clear();
    descriptor_.add(descriptor::uuid, track);
  }

  void write_descriptor() {
    packet_.clear();
    packet_.add(packet::track_descriptor, descriptor_);
    write_packet();
  }

  [[nodiscard]] std::vector<user_event_place> user_events_by_thread() const {
    std::vector<user_event_place> places;
    places.reserve(marks_.user_events().size());
    for (const auto& user_event : marks_.user_events()) {
      places.emplace_back(user_event.thread, static_cast<std::uint32_t>(places.size()));
    }
    std::ranges::sort(places);
    return places;
  }

  void write_thread(int thread, std::span<const user_event_place> user_events) {
    std::uint32_t lines_before = 0;
    const auto write_user_events = [&] {
      for (; !user_events.empty(); user_events = user_events.subspan(1)) {
        const auto& user_event = marks_.user_events()[user_events.front().second];
        if (user_event.lines_before > lines_before) return;
        write_user_event(user_event);
      }
    };
    if (thread < executions_.thread_count()) {
      for (thread_lines lines(executions_, thread); lines.next(); ++lines_before) {
        write_user_events();
        write_slice_line(lines.is_begin(), thread_track(thread), executions_.node_of(lines.execution()),
                         lines.time());
      }
    }
    write_user_events();
  }

  void write_user_event(const timeline_marks::user_event& user_event) {
    const std::uint32_t text = report_.nodes.size() + user_event.text;
    begin_event(event::instant, thread_track(user_event.thread));
    event_.add(event::name_iid, iid_of(text));
    if (is_new(text)) intern(interned::names, text, marks_.text(user_event.text));
    write_event(clock_.at(user_event.time));
  }

  void write_slice_line(bool is_begin, std::uint64_t track, std::uint32_t node, std::uint64_t time) {
    begin_event(is_begin ? event::slice_begin : event::slice_end, track);
    if (is_begin) {
      event_.add(event::category_iids, iid_of(node));
      event_.add(event::name_iid, iid_of(node));
      event_.add(event::correlation_id, iid_of(node));
      if (is_new(node)) {
        intern(interned::categories, node, report_.nodes[node].id);
        intern(interned::names, node, report_.name_of(node));
      }
    }
    write_event(clock_.at(time));
  }

  void begin_event(std::uint64_t type, std::uint64_t track) {
    event_.clear();
    interned_.clear();
    event_.add(event::type, type);
    event_.add(event::track_uuid, track);
  }

  void write_event(std::uint64_t nanoseconds) {
    packet_.clear();
    packet_.add(packet::timestamp, nanoseconds);
    packet_.add(packet::track_event, event_);
    if (!interned_.bytes().empty()) packet_.add(packet::interned_data, interned_);
    write_packet();
  }

  /// Texts have numbers above 0: nodes, then descriptions of user events.
  static std::uint64_t iid_of(std::uint32_t text) { return std::uint64_t{text} + 1; }

  /// Whether the text is used for the first time: then it is told beside the event.
  bool is_new(std::uint32_t text) { return !std::exchange(is_interned_[text], 1); }

  void intern(unsigned kind, std::uint32_t number, std::string_view text) {
    text_.clear();
    text_.add(interned::iid, iid_of(number));
    text_.add(interned::text, valid_utf8(text));
    interned_.add(kind, text_);
  }

  void write_packet() {
    packet_.add(packet::sequence_id, sequence);
    if (std::exchange(is_first_, false)) {
      packet_.add(packet::sequence_flags, packet::needs_state | packet::clears_state);
      packet_.add(packet::first_on_sequence, 1);
    } else {
      packet_.add(packet::sequence_flags, packet::needs_state);
    }
    packet_in_trace_.clear();
    packet_in_trace_.add(trace::packet, packet_);
    out_.write(packet_in_trace_.bytes());
  }

  const run_report& report_;
  const execution_table& executions_;
  const timeline_marks& marks_;
  nanosecond_clock clock_;
  byte_sink& out_;
  std::vector<char> is_interned_;  ///< by node, then by text of user events
  bool is_first_ = true;           ///< the packet at hand
  // Used over and over.
  protobuf_message descriptor_, event_, interned_, text_, packet_, packet_in_trace_;
};

}  // namespace

void write_perfetto(const exported_run& run, byte_sink& out) {
  const std::uint64_t slices = run.report.executions.size() + run.report.marks.regions().size();
  if (slices > most_slices) {
    run.watch.warn("the trace has " + std::to_string(slices) +
                   " slices; above five million a browser may not open it");
  }
  perfetto_writer(run, out).write();
}
