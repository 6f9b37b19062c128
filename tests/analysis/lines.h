#pragma once

#include <cstdint>
#include <initializer_list>

#include "analysis/execution_table.h"

/// A line of a timeline about a task.
struct line {
  enum class event : std::uint8_t { begin, outer, end, region };

  event what;
  int thread;
  std::uint64_t time;
  std::uint32_t node = 0;
  execution_kind kind = execution_kind::work;
};

inline line begin(int thread, std::uint64_t time, std::uint32_t node,
                  execution_kind kind = execution_kind::work) {
  return {line::event::begin, thread, time, node, kind};
}
/// The first one of two begins of an implicit task or barrier.
inline line outer(int thread, std::uint64_t time) { return {line::event::outer, thread, time}; }
inline line end(int thread, std::uint64_t time) { return {line::event::end, thread, time}; }
/// The begin of an OpenMP region, which opens nothing.
inline line region(int thread, std::uint64_t time) { return {line::event::region, thread, time}; }

/// The executions that the lines tell of; each begin must have an end.
inline execution_table executions_of(std::initializer_list<line> lines) {
  execution_table executions;
  for (const auto& [what, thread, time, node, kind] : lines) {
    switch (what) {
      case line::event::begin:
        executions.begin(thread, time, node, kind);
        break;
      case line::event::outer:
        executions.begin_outer(thread, time);
        break;
      case line::event::end:
        executions.end(thread, time);
        break;
      case line::event::region:
        executions.pass(thread, time);
        break;
    }
  }
  executions.close();
  return executions;
}
