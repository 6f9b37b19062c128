#include "processor/event_list.h"

#include <cstring>

namespace {

// An event starts with a word of its kind and producer and a word of the time since the event before. Both
// fit any run but for times, which a damaged trace may set back or forward at will: a jump in time is an
// entry of its own.
constexpr std::uint32_t kind_bits = 4;
constexpr std::uint32_t kind_mask = (1U << kind_bits) - 1;
constexpr std::uint32_t time_jump = kind_mask;
/// A jump in time and an event of the longest kind.
constexpr std::size_t most_event_words = 12;

/// What follows, as much of it from the front as the kind of the event needs.
struct details {
  std::uint32_t first;  ///< symbol, edge, or position of a text
  std::uint32_t name[2];
  std::uint32_t second;
  std::uint32_t domain;
  std::uint32_t processor[2];
};

std::size_t words_of_details(tml_event_t kind) {
  switch (kind) {
    case tml_event_t::task_ended:
      return 0;
    case tml_event_t::graph_created:
    case tml_event_t::edge_made:
    case tml_event_t::edge_removed:
    case tml_event_t::user_event:
      return 1;
    case tml_event_t::node_created:
      return 3;
    case tml_event_t::region_begun:
    case tml_event_t::region_ended:
      return 4;
    case tml_event_t::task_begun:
    case tml_event_t::implicit_task_begun:
    case tml_event_t::explicit_task_begun:
      break;
  }
  return sizeof(details) / sizeof(std::uint32_t);
}

bool is_of_edge(tml_event_t kind) {
  return kind == tml_event_t::edge_made || kind == tml_event_t::edge_removed;
}

void split(std::uint64_t number, std::uint32_t (&halves)[2]) { std::memcpy(halves, &number, sizeof number); }

std::uint64_t join(const std::uint32_t* halves) {
  std::uint64_t number = 0;
  std::memcpy(&number, halves, sizeof number);
  return number;
}

}  // namespace

void event_list::add_block() {
  const block_source::block added = source_.take();
  blocks_.push_back({{reinterpret_cast<std::uint32_t*>(added.memory), {}}, nullptr});
  next_ = blocks_.back().words.get();
  room_end_ = next_ + added.size_bytes / sizeof *next_;
}

void event_list::append(const timeline_event& event) {
  if (static_cast<std::size_t>(room_end_ - next_) < most_event_words) add_block();
  std::uint64_t elapsed = event.time - last_time_;
  if (elapsed > UINT32_MAX) {
    *next_++ = time_jump;
    std::memcpy(next_, &event.time, sizeof event.time);
    next_ += 2;
    elapsed = 0;
  }
  *next_++ = static_cast<std::uint32_t>(event.kind) | static_cast<std::uint32_t>(event.producer) << kind_bits;
  *next_++ = static_cast<std::uint32_t>(elapsed);
  if (const std::size_t words = words_of_details(event.kind); words > 0) {
    details more{
        .first = event.first, .name = {}, .second = event.second, .domain = event.domain, .processor = {}};
    if (is_of_edge(event.kind)) more.first = event.edge;
    if (event.kind == tml_event_t::user_event) {
      more.first = static_cast<std::uint32_t>(texts_.size());
      texts_.push_back(event.text);
    }
    split(event.name, more.name);
    split(event.processor, more.processor);
    // All of them, at once: there is room, and the next event goes over what this kind does not need.
    std::memcpy(next_, &more, sizeof more);
    next_ += words;
  }
  blocks_.back().end = next_;
  last_time_ = event.time;
  ++size_;
}

bool event_list::reader::next(timeline_event& event) {
  if (left_ == 0) return false;
  --left_;
  if (next_ == nullptr) {
    next_ = events_.blocks_.front().words.get();
  } else if (next_ == events_.blocks_[block_].end) {
    next_ = events_.blocks_[++block_].words.get();
  }
  if (*next_ == time_jump) {
    time_ = join(next_ + 1);
    next_ += 3;
  }
  event = {};
  event.kind = static_cast<tml_event_t>(*next_ & kind_mask);
  event.producer = static_cast<std::int32_t>(*next_++ >> kind_bits);
  event.time = time_ += *next_++;
  const std::size_t words = words_of_details(event.kind);
  if (words == 0) return true;
  details more{};
  std::memcpy(&more, next_, words * sizeof *next_);
  next_ += words;
  event.name = join(more.name);
  event.second = more.second;
  event.domain = more.domain;
  event.processor = join(more.processor);
  if (is_of_edge(event.kind)) {
    event.edge = more.first;
  } else if (event.kind == tml_event_t::user_event) {
    event.text = events_.texts_[more.first];
  } else {
    event.first = more.first;
  }
  return true;
}
