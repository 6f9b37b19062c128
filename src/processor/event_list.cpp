#include "processor/event_list.h"

namespace {

// The head byte of a packed event: its kind, and which of the optional values follow.
constexpr std::uint8_t kind_mask = 0x0f;
constexpr std::uint8_t has_first = 0x10;
constexpr std::uint8_t has_second = 0x20;
constexpr std::uint8_t has_first_number = 0x40;
constexpr std::uint8_t has_second_number = 0x80;

bool has_domain(tml_event_t kind) {
  return kind == tml_event_t::task_begun || kind == tml_event_t::implicit_task_begun ||
         kind == tml_event_t::explicit_task_begun;
}

/// Seven bits a byte, the lowest first; the top bit says that more follow.
std::uint8_t* write_number(std::uint8_t* to, std::uint64_t number) {
  while (number >= 0x80) {
    *to++ = static_cast<std::uint8_t>(number | 0x80);
    number >>= 7;
  }
  *to++ = static_cast<std::uint8_t>(number);
  return to;
}

// Times mostly grow by little, but a trace may jump anywhere: differences wrap, and their sign goes into the
// lowest bit.
std::uint64_t fold_sign(std::uint64_t difference) { return difference << 1 ^ (0 - (difference >> 63)); }
std::uint64_t unfold_sign(std::uint64_t folded) { return folded >> 1 ^ (0 - (folded & 1)); }

}  // namespace

void event_list::append(const timeline_event& event) {
  if (static_cast<std::size_t>(room_end_ - next_) < max_event_bytes) {
    blocks_.push_back({std::make_unique_for_overwrite<std::uint8_t[]>(block_bytes), nullptr});
    next_ = blocks_.back().bytes.get();
    room_end_ = next_ + block_bytes;
  }
  std::uint8_t* to = next_ + 1;
  auto head = static_cast<std::uint8_t>(event.kind);
  const auto add = [&to, &head](std::uint64_t value, std::uint8_t flag) {
    if (value == 0) return;
    head = static_cast<std::uint8_t>(head | flag);
    to = write_number(to, value);
  };
  to = write_number(to, fold_sign(event.time - last_time_));
  to = write_number(to, static_cast<std::uint32_t>(event.producer));
  if (has_domain(event.kind)) to = write_number(to, domain_index(event.domain));
  add(event.first, has_first);
  add(event.second, has_second);
  add(event.first_number, has_first_number);
  add(event.second_number, has_second_number);
  *next_ = head;
  next_ = to;
  blocks_.back().end = to;
  last_time_ = event.time;
  ++size_;
}

std::size_t event_list::domain_index(std::uint64_t domain) {
  // Neighbouring events mostly share their domain.
  if (last_domain_ < domains_.size() && domains_[last_domain_] == domain) return last_domain_;
  std::size_t& position = domain_positions_.place(domain);
  if (position == 0) {
    domains_.push_back(domain);
    position = domains_.size();
  }
  last_domain_ = position - 1;
  return last_domain_;
}

std::uint64_t event_list::packed_reader::read_number() {
  std::uint64_t number = *next_ & 0x7f;
  for (int shift = 7; (*next_++ & 0x80) != 0; shift += 7) {
    number |= static_cast<std::uint64_t>(*next_ & 0x7f) << shift;
  }
  return number;
}

const timeline_event& event_list::packed_reader::next() {
  if (next_ == nullptr) {
    next_ = events_.blocks_.front().bytes.get();
  } else if (next_ == events_.blocks_[block_].end) {
    next_ = events_.blocks_[++block_].bytes.get();
  }
  const std::uint8_t head = *next_++;
  event_.kind = static_cast<tml_event_t>(head & kind_mask);
  event_.time += unfold_sign(read_number());
  event_.producer = static_cast<std::int32_t>(read_number());
  event_.domain = has_domain(event_.kind) ? events_.domains_[read_number()] : 0;
  event_.first = (head & has_first) != 0 ? static_cast<std::uint32_t>(read_number()) : 0;
  event_.second = (head & has_second) != 0 ? static_cast<std::uint32_t>(read_number()) : 0;
  event_.first_number = (head & has_first_number) != 0 ? read_number() : 0;
  event_.second_number = (head & has_second_number) != 0 ? read_number() : 0;
  return event_;
}
