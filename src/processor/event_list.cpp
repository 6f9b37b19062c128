#include "processor/event_list.h"

#include <cstring>
#include <new>

#include "common/huge_pages.h"

namespace {

// An event starts with a word of its kind and producer and a word of the time since the event before. Both
// fit any run but for times, which a damaged trace may set back or forward at will: a jump in time is an
// entry of its own.
constexpr std::uint32_t kind_bits = 4;
constexpr std::uint32_t kind_mask = (1U << kind_bits) - 1;
constexpr std::uint32_t time_jump = kind_mask;

/// What follows, as much of it from the front as the kind of the event needs.
struct details {
  std::uint32_t first;
  std::uint32_t first_number[2];
  std::uint32_t second;
  std::uint32_t domain;
  std::uint32_t second_number[2];
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
  if (static_cast<std::size_t>(room_end_ - next_) < max_event_words) {
    add_block();
  }
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
    const bool has_text = event.kind == tml_event_t::user_event;
    if (has_text) texts_.push_back(event.text);
    details more{.first = has_text ? static_cast<std::uint32_t>(texts_.size() - 1) : event.first,
                 .first_number = {},
                 .second = event.second,
                 .domain = domain_index(event.domain),
                 .second_number = {}};
    split(event.first_number, more.first_number);
    split(event.second_number, more.second_number);
    // All of them, at once: there is room, and the next event goes over what this kind does not need.
    std::memcpy(next_, &more, sizeof more);
    next_ += words;
  }
  blocks_.back().end = next_;
  last_time_ = event.time;
  ++size_;
}

std::uint32_t event_list::domain_index(std::uint64_t domain) {
  // Neighbouring events mostly share their domain.
  if (last_domain_ < domains_.size() && domains_[last_domain_] == domain) return last_domain_;
  std::uint32_t& position = domain_positions_.place(domain);
  if (position == 0) {
    domains_.push_back(domain);
    position = static_cast<std::uint32_t>(domains_.size());
  }
  last_domain_ = position - 1;
  return last_domain_;
}

const timeline_event& event_list::packed_reader::next() {
  if (next_ == nullptr) {
    next_ = events_.blocks_.front().words.get();
  } else if (next_ == events_.blocks_[block_].end) {
    next_ = events_.blocks_[++block_].words.get();
  }
  if (*next_ == time_jump) {
    event_.time = join(next_ + 1);
    next_ += 3;
  }
  event_.kind = static_cast<tml_event_t>(*next_ & kind_mask);
  event_.producer = static_cast<std::int32_t>(*next_++ >> kind_bits);
  event_.time += *next_++;
  details more{};
  if (const std::size_t words = words_of_details(event_.kind); words > 0) {
    if (words * sizeof *next_ == sizeof more) {
      std::memcpy(&more, next_, sizeof more);
    } else {
      std::memcpy(&more, next_, words * sizeof *next_);
    }
    next_ += words;
    event_.domain = events_.domains_[more.domain];
  }
  const bool has_text = event_.kind == tml_event_t::user_event;
  event_.first = has_text ? 0 : more.first;
  event_.text = has_text ? events_.texts_[more.first] : nullptr;
  event_.second = more.second;
  event_.first_number = join(more.first_number);
  event_.second_number = join(more.second_number);
  return event_;
}
