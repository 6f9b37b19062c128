#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "analysis/execution_table.h"
#include "analysis/figures.h"
#include "analysis/node_links.h"
#include "analysis/observed_path.h"
#include "analysis/run_nodes.h"
#include "analysis/tick_range.h"
#include "analysis/timeline_marks.h"
#include "kzr/dump/run_summary.h"
#include "kzr/report/code_locator.h"

/// What a report is asked for.
struct report_settings {
  std::string stem;  ///< path of the trace files without point and number
  bool looks_into_openmp = true;
  tick_range range;
  bool keeps_begin_order = false;  ///< of the executions over all threads
};

/// The figures of a run and what is needed to tell them. Where the converter would end itself, those of the
/// records before that.
struct run_report {
  explicit run_report(recorded_run read) : recorded(std::move(read)), nodes(*recorded.model) {}

  recorded_run recorded;  ///< without its processor, whose events the executions replace
  std::string name;       ///< of the run's directory
  run_nodes nodes;
  execution_table executions;
  timeline_marks marks;
  run_figures figures;
  std::vector<tick_sum> region_busy_ticks;  ///< of all threads while a region ran, by region of `marks`
  tick_range range;                         ///< that the figures are for
  node_links links{0};
  observed_path path;
  std::vector<bool> has_run;  ///< by node: at any time
  std::map<std::uint32_t, code_place> code;

  [[nodiscard]] const run_summary& summary() const { return recorded.summary; }
  /// The name of a node as the documents have it.
  [[nodiscard]] std::string name_of(std::uint32_t node) const;
  /// Whether a node belongs into the report: one of the documents, or one that ran.
  [[nodiscard]] bool is_listed(std::uint32_t node) const {
    return nodes[node].shown != nullptr || has_run[node];
  }
};

/// What a run is called: the name of the directory that its trace files are in.
[[nodiscard]] std::string name_of_run(const std::string& stem);

/// Reads the run and computes its figures.
[[nodiscard]] run_report make_report(const report_settings& settings);

/// The nodes that belong into the report, by the bytes of their ids.
[[nodiscard]] std::vector<std::uint32_t> list_nodes(const run_report& report);

/// The word for a gap of the path; empty for none.
[[nodiscard]] const char* name_of(gap_kind kind);
