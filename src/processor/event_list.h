#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "common/flat_map.h"
#include "common/huge_pages.h"

/// What an event of the timeline is; the numbers are those of the event list.
enum class tml_event_t : std::uint8_t {
  graph_created = 0,
  node_created = 1,
  edge_made = 2,
  edge_removed = 3,
  task_begun = 4,
  implicit_task_begun = 5,
  explicit_task_begun = 6,
  task_ended = 7,
  region_begun = 8,
  region_ended = 9,
  user_event = 10,
};

/// One event of the timeline. Symbols are positions in the data manager's list of symbols, 0 for none.
struct timeline_event {
  tml_event_t kind{};
  std::uint64_t time = 0;           ///< ticks
  std::int32_t producer = 0;        ///< number of the trace file
  std::uint64_t domain = 0;         ///< domain handle; kept for the begins of tasks only
  std::uint32_t first = 0;          ///< the graph, node, edge, body, ... that the event is about
  std::uint32_t second = 0;         ///< its graph or parent
  std::uint64_t first_number = 0;   ///< string handle: kind of a node, name of a task
  std::uint64_t second_number = 0;  ///< processor number of a task's begin
  const char* text = nullptr;       ///< of a user event, borrowed until the end of the run
};

/// The events of a run in the order of their arrival. Large runs have many millions of them, and half of
/// those end tasks: such an event takes 8 bytes, a begin 36 and any other one no more than 24. The list grows
/// by blocks and never moves what it holds.
class event_list {
 public:
  /// Puts `event` behind all others.
  void append(const timeline_event& event);

  /// Calls `visit(const timeline_event&)` for every event, first to last.
  template <class Visit>
  void for_each(Visit visit) const {
    packed_reader reader(*this);
    for (std::size_t i = 0; i < size_; ++i) visit(reader.next());
  }

  /// How many events before its turn an event is shown for the first and for the last time.
  static constexpr std::size_t first_steps = 8;
  static constexpr std::size_t last_steps = 4;

  /// The same, but before its turn each event is shown to `expect(const timeline_event&, steps)` twice, so
  /// that what it needs can be fetched from memory.
  template <class Visit, class Expect>
  void for_each(Visit visit, Expect expect) const {
    packed_reader reader(*this);
    // The events that come next, in a circle.
    std::array<timeline_event, first_steps> next;
    for (std::size_t i = 0; i < size_ + first_steps; ++i) {
      timeline_event& place = next[i % first_steps];
      if (i >= first_steps) visit(place);
      if (i < size_) {
        place = reader.next();
        expect(place, first_steps);
      }
      if (const std::size_t nearer = i - (first_steps - last_steps); nearer < size_) {
        expect(next[nearer % first_steps], last_steps);
      }
    }
  }

 private:
  /// A jump in time and an event of the longer kind.
  static constexpr std::size_t max_event_words = 12;

  class packed_reader {
   public:
    explicit packed_reader(const event_list& events) : events_(events) {}
    const timeline_event& next();

   private:
    const event_list& events_;
    std::size_t block_ = 0;
    const std::uint32_t* next_ = nullptr;
    timeline_event event_;
  };

  [[nodiscard]] std::uint32_t domain_index(std::uint64_t domain);

  void add_block();

  /// Where the words of a block end; an event never goes over two blocks.
  struct block {
    std::unique_ptr<std::uint32_t[], free_deleter> words;
    const std::uint32_t* end;
  };

  block_source source_;
  std::vector<block> blocks_;
  std::uint32_t* next_ = nullptr;
  std::uint32_t* room_end_ = nullptr;
  std::size_t size_ = 0;
  std::uint64_t last_time_ = 0;
  std::vector<std::uint64_t> domains_;
  flat_map<std::uint64_t, std::uint32_t> domain_positions_;  ///< one more than the index in `domains_`
  std::uint32_t last_domain_ = 0;
  std::vector<const char*> texts_;  ///< of user events, whose `first` is the index here
};
