#pragma once

#include <future>
#include <system_error>

/// Has another thread call `work(arguments...)` and returns the result to come. Where no thread is to be had,
/// for whatever reason, it is called by whoever asks for the result, and not at all when nobody does.
template <class Work, class... Arguments>
[[nodiscard]] auto run_aside(Work work, Arguments... arguments) {
  try {
    return std::async(std::launch::async | std::launch::deferred, work, arguments...);
  } catch (const std::system_error&) {
    return std::async(std::launch::deferred, work, arguments...);
  }
}
