#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

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

/// One event of the timeline. Symbols are positions in the model's list of symbols, 0 for none.
struct timeline_event {
  tml_event_t kind{};
  std::uint64_t time = 0;       ///< ticks
  std::int32_t producer = 0;    ///< number of the trace file
  std::uint32_t first = 0;      ///< the graph, node, body, ... that the event is about
  std::uint32_t second = 0;     ///< its graph or parent
  std::uint32_t edge = 0;       ///< one more than the number of an edge, 0 for none
  std::uint32_t domain = 0;     ///< index of the domain; kept for the begins of tasks
  std::uint64_t name = 0;       ///< string handle: kind of a node, name of a task
  std::uint64_t processor = 0;  ///< number of the processor that a task begins on
  const char* text = nullptr;   ///< of a user event, borrowed until the end of the run
};

/// The events of a run in the order of their arrival. Large runs have many millions of them, and half of
/// those end tasks: such an event takes 8 bytes, a begin 36 and any other one no more than 24. The list grows
/// by blocks and never moves what it holds.
class event_list {
 public:
  /// Puts `event` behind all others.
  void append(const timeline_event& event);

  /// Reads the events one after the other; the list must not grow meanwhile.
  class reader {
   public:
    explicit reader(const event_list& events) : events_(events), left_(events.size_) {}
    /// Puts the next event into `event`; false when there is none.
    bool next(timeline_event& event);

   private:
    const event_list& events_;
    std::size_t left_;
    std::size_t block_ = 0;
    const std::uint32_t* next_ = nullptr;
    std::uint64_t time_ = 0;
  };

 private:
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
  std::vector<const char*> texts_;  ///< of user events
};
