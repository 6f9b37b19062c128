#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "reader/record_descriptions.h"

namespace CLI {
class App;
}

/// Which records are listed. Everything is let through unless something is named.
struct record_filter {
  std::array<bool, record_descriptions.size()> kinds{};  ///< by kind; none set lets all through
  std::vector<int> producers;                            ///< numbers of trace files; none lets all through
  std::uint64_t from = 0;  ///< first and last timestamp, in ticks, both inclusive
  std::uint64_t to = UINT64_MAX;
};

/// What the dump is asked to do.
struct dump_options {
  std::string stem;  ///< path of the trace files without point and number
  bool omp_experimental = false;
  bool as_json = false;
  bool list_records = false;
  record_filter filter;
};

/// Gives `command` the arguments of the dump, which fill `options` when they are parsed.
void add_dump_options(CLI::App& command, dump_options& options);
