#include "kzr/report/report_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <numeric>
#include <ostream>
#include <tuple>

#include "kzr/common/printable.h"
#include "kzr/common/text_table.h"
#include "kzr/dump/summary_text.h"
#include "kzr/report/code_places.h"
#include "kzr/report/run_report.h"

namespace {

constexpr auto left = text_table::align::left;
constexpr std::size_t most_rows = 40;
constexpr std::size_t most_letters = 40;

/// `text` in printable form, cut where it is too long for a column.
std::string shorten(std::string_view text) {
  std::string clean = printable(text);
  std::size_t letters = 0;
  for (std::size_t i = 0; i < clean.size(); ++i) {
    const bool begins_letter = (static_cast<unsigned char>(clean[i]) & 0xC0U) != 0x80;
    if (!begins_letter || letters++ < most_letters) continue;
    clean.resize(i);
    return clean + "...";
  }
  return clean;
}

std::string or_dash(const std::optional<std::uint64_t>& number) {
  return number ? std::to_string(*number) : "-";
}

std::string with_digits(const char* format, double number) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, number);
  return text.data();
}

std::string percent(tick_sum part, tick_sum whole) {
  if (whole == 0) return "-";
  return with_digits("%.1f", 100 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string rounded_text(tick_sum number_of_thousandths) {
  return decimal_text((number_of_thousandths + thousandths / 2) / thousandths);
}

class text_writer {
 public:
  text_writer(const run_report& report, std::ostream& out)
      : report_(report), figures_(report.figures), out_(out) {}

  void write() {
    write_verdict(report_.summary(), most_rows, out_);
    write_run();
    if (figures_.span.is_empty) return write_places();
    write_concurrency();
    write_threads();
    write_places();
    write_nodes();
    write_path();
  }

 private:
  void line(std::string_view title, const std::string& value) {
    out_ << "  " << title << std::string(21 - title.size(), ' ') << value << '\n';
  }

  void tell_of_more(std::size_t shown, std::size_t all) {
    if (all > shown) out_ << "  and " << all - shown << " more, which --json lists\n";
  }

  [[nodiscard]] std::string describe_makespan() const {
    const active_span& span = figures_.span;
    std::string text = std::to_string(span.ticks()) + " ticks";
    if (const std::optional<double> frequency = ticks_per_second(report_.summary())) {
      text += with_digits(" = %.9g s", static_cast<double>(span.ticks()) / *frequency);
    }
    if (span.is_empty) return text;
    return text + ", from " + std::to_string(span.first) + " to " + std::to_string(span.last);
  }

  void write_run() {
    const auto number = [](const std::optional<double>& value, double factor, const char* format) {
      return value ? with_digits(format, *value * factor) : std::string("-");
    };
    out_ << "\nRun\n";
    line("makespan", describe_makespan());
    line("executions", std::to_string(figures_.executions));
    line("threads", std::to_string(figures_.threads.size()));
    line("average parallelism", number(figures_.average_parallelism, 1, "%.2f"));
    line("utilisation", number(figures_.utilisation, 100, "%.1f %%"));
    line("imbalance", number(figures_.imbalance, 100, "%.1f %%"));
  }

  void write_concurrency() {
    text_table table({{"busy threads"}, {"ticks"}, {"%"}});
    std::size_t shown = 0;
    std::size_t all = 0;
    for (std::size_t busy = 0; busy < figures_.concurrency.size(); ++busy) {
      const std::uint64_t ticks = figures_.concurrency[busy];
      if (ticks == 0 || ++all > most_rows) continue;
      ++shown;
      table.add_row({std::to_string(busy), std::to_string(ticks), percent(ticks, figures_.span.ticks())});
    }
    if (table.is_empty()) return;
    out_ << '\n';
    table.print(out_);
    tell_of_more(shown, all);
  }

  void write_threads() {
    std::vector<thread_figures> threads = figures_.threads;
    const std::size_t shown = std::min(threads.size(), most_rows);
    if (shown < threads.size()) {
      std::ranges::stable_sort(threads, std::greater{}, &thread_figures::busy_ticks);
      threads.resize(shown);
    }
    text_table table({{"thread"}, {"executions"}, {"busy ticks"}, {"%"}, {"first begin"}, {"last end"}});
    for (const thread_figures& thread : threads) {
      table.add_row({std::to_string(thread.thread), std::to_string(thread.executions),
                     std::to_string(thread.busy_ticks), percent(thread.busy_ticks, figures_.span.ticks()),
                     or_dash(thread.first_begin), or_dash(thread.last_end)});
    }
    out_ << '\n';
    table.print(out_);
    tell_of_more(shown, figures_.threads.size());
  }

  /// Of nodes that share their place in the code, and of regions, what they took together.
  void write_places() {
    std::vector<code_place_figures> places = find_code_places(report_);
    const auto has_several_nodes = [](const code_place_figures& place) { return place.nodes > 1; };
    const auto has_regions = [](const code_place_figures& place) { return place.regions > 0; };
    if (std::ranges::any_of(places, has_regions)) {
      std::ranges::stable_sort(places, std::greater{}, &code_place_figures::region_ticks);
      write_regions(places);
    }
    if (std::ranges::any_of(places, has_several_nodes)) {
      std::ranges::stable_sort(places, std::greater{}, &code_place_figures::self_ticks);
      write_nodes_of(places);
    }
  }

  void write_regions(const std::vector<code_place_figures>& places) {
    text_table table({{"regions by place", left},
                      {"regions"},
                      {"ticks"},
                      {"% of the\nmakespan"},
                      {"each"},
                      {"busy threads"},
                      {"code", left}});
    const auto busy_threads = [](const code_place_figures& place) {
      if (place.region_ticks == 0) return std::string("-");
      return with_digits(
          "%.2f", static_cast<double>(place.region_busy_ticks) / static_cast<double>(place.region_ticks));
    };
    write_rows(table, places, &code_place_figures::regions, [&](const code_place_figures& place) {
      return std::vector<std::string>{shorten(place.name),
                                      std::to_string(place.regions),
                                      decimal_text(place.region_ticks),
                                      percent(place.region_ticks, figures_.span.ticks()),
                                      rounded_text(divide_in_thousandths(place.region_ticks, place.regions)),
                                      busy_threads(place),
                                      describe(place.code)};
    });
  }

  void write_nodes_of(const std::vector<code_place_figures>& places) {
    text_table table({{"nodes by place", left},
                      {"nodes"},
                      {"executions"},
                      {"self ticks"},
                      {"% of all\nthreads"},
                      {"total ticks"},
                      {"self ticks\nof each"},
                      {"idle share"},
                      {"code", left}});
    const auto each = [](const code_place_figures& place) {
      if (place.executions == 0) return std::string("-");
      return rounded_text(divide_in_thousandths(place.self_ticks, place.executions));
    };
    write_rows(table, places, &code_place_figures::nodes, [&](const code_place_figures& place) {
      return std::vector<std::string>{shorten(place.name),
                                      std::to_string(place.nodes),
                                      std::to_string(place.executions),
                                      decimal_text(place.self_ticks),
                                      percent(place.self_ticks, thread_ticks()),
                                      decimal_text(place.total_ticks),
                                      each(place),
                                      rounded_text(place.idle_share_thousandths),
                                      describe(place.code)};
    });
  }

  /// Prints the first places of which there is a `count`.
  template <class MakeRow>
  void write_rows(text_table& table, const std::vector<code_place_figures>& places,
                  std::uint64_t code_place_figures::*count, const MakeRow& make_row) {
    std::size_t all = 0;
    for (const code_place_figures& place : places) {
      if (place.*count > 0 && ++all <= most_rows) table.add_row(make_row(place));
    }
    out_ << '\n';
    table.print(out_);
    if (all > most_rows) out_ << "  and " << all - most_rows << " more\n";
  }

  [[nodiscard]] tick_sum thread_ticks() const {
    return tick_sum{figures_.span.ticks()} * figures_.threads.size();
  }

  /// The nodes that ran, those with most time of their own first.
  [[nodiscard]] std::vector<std::uint32_t> nodes_by_self_time() const {
    std::vector<std::uint32_t> nodes;
    for (std::uint32_t node = 0; node < report_.nodes.size(); ++node) {
      if (figures_.nodes[node].executions > 0 || figures_.nodes[node].total_ticks > 0) nodes.push_back(node);
    }
    std::ranges::sort(nodes, [this](std::uint32_t a, std::uint32_t b) {
      return std::tie(figures_.nodes[b].self_ticks, report_.nodes[a].id) <
             std::tie(figures_.nodes[a].self_ticks, report_.nodes[b].id);
    });
    return nodes;
  }

  void write_nodes() {
    const std::vector<std::uint32_t> nodes = nodes_by_self_time();
    text_table table({{"node", left},
                      {"name", left},
                      {"executions"},
                      {"threads"},
                      {"self ticks"},
                      {"% of all\nthreads"},
                      {"total ticks"},
                      {"mean"},
                      {"median"},
                      {"90 %"},
                      {"99 %"},
                      {"greatest"},
                      {"idle share"},
                      {"code", left}});
    const std::size_t shown = std::min(nodes.size(), most_rows);
    for (std::size_t i = 0; i < shown; ++i) add_node(table, nodes[i]);
    out_ << '\n';
    table.print(out_);
    tell_of_more(shown, nodes.size());
  }

  void add_node(text_table& table, std::uint32_t number) const {
    const node_figures& node = figures_.nodes[number];
    const auto spread = [&node](std::uint64_t node_figures::spread::*ticks) {
      return node.inclusive ? std::to_string((*node.inclusive).*ticks) : "-";
    };
    table.add_row({shorten(report_.nodes[number].id), shorten(report_.name_of(number)),
                   std::to_string(node.executions), std::to_string(node.threads),
                   decimal_text(node.self_ticks), percent(node.self_ticks, thread_ticks()),
                   decimal_text(node.total_ticks),
                   node.inclusive ? rounded_text(node.mean_thousandths()) : "-",
                   spread(&node_figures::spread::p50_ticks), spread(&node_figures::spread::p90_ticks),
                   spread(&node_figures::spread::p99_ticks), spread(&node_figures::spread::max_ticks),
                   rounded_text(node.idle_share_thousandths), describe_code(number)});
  }

  [[nodiscard]] std::string describe_code(std::uint32_t node) const {
    const auto code = report_.code.find(node);
    return code == report_.code.end() ? "" : describe(code->second);
  }

  static std::string describe(const code_place& code) {
    const auto& [function, source] = code;
    const std::string file = source.substr(source.rfind('/') + 1);
    return shorten(function) + (function.empty() || file.empty() ? "" : ", ") + shorten(file);
  }

  void write_path() {
    const std::vector<observed_path::step>& steps = report_.path.steps;
    if (steps.empty()) return;
    std::array<tick_sum, 5> gap_ticks{};
    tick_sum own_ticks = 0;
    for (const auto& [execution, kind, ticks] : steps) {
      gap_ticks[static_cast<std::size_t>(kind)] += ticks;
      own_ticks += report_.executions.duration_of(execution);
    }
    const auto share = [this](tick_sum ticks) {
      return decimal_text(ticks) + " ticks, " + percent(ticks, figures_.span.ticks()) + " %";
    };
    out_ << "\nObserved path: one chain of executions, no proof that they waited for each other\n";
    line("executions", std::to_string(steps.size()));
    line("their time", share(own_ticks));
    for (const gap_kind kind :
         {gap_kind::enclosing, gap_kind::thread, gap_kind::data, gap_kind::unexplained}) {
      const tick_sum ticks = gap_ticks[static_cast<std::size_t>(kind)];
      if (ticks > 0) line("gaps, " + std::string(name_of(kind)), share(ticks));
    }
    line("behind it", share(report_.path.rest_ticks));
    write_steps(steps);
  }

  void write_steps(const std::vector<observed_path::step>& steps) {
    text_table table({{"node on the path", left},
                      {"name", left},
                      {"thread"},
                      {"begin"},
                      {"ticks"},
                      {"gap"},
                      {"kind", left}});
    const std::size_t shown = std::min(steps.size(), most_rows);
    for (const auto& [execution, kind, gap_ticks] : std::span(steps).last(shown)) {
      const std::uint32_t node = report_.executions.node_of(execution);
      table.add_row({shorten(report_.nodes[node].id), shorten(report_.name_of(node)),
                     std::to_string(report_.executions.thread_of(execution)),
                     std::to_string(report_.executions.begin_of(execution)),
                     std::to_string(report_.executions.duration_of(execution)), std::to_string(gap_ticks),
                     name_of(kind)});
    }
    out_ << '\n';
    if (shown < steps.size()) {
      out_ << "  the last " << shown << " of " << steps.size() << " steps; --json lists all\n";
    }
    table.print(out_);
  }

  const run_report& report_;
  const run_figures& figures_;
  std::ostream& out_;
};

}  // namespace

void write_text(const run_report& report, std::ostream& out) { text_writer(report, out).write(); }
