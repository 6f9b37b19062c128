#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

/// A function whose address a trace can tell; `extern "C"` so that it has a plain symbol.
extern "C" int function_of_a_node() { return 7; }

namespace {

namespace fs = std::filesystem;

using kzr::object_id;
using kzr::relation_code;
using kzr::value_type;
using nlohmann::json;
using strings = std::vector<std::string>;

constexpr object_id graph{1, 0, 0}, node{2, 0, 0};
enum : std::uint64_t { flow = 1, openmp, is_graph, object_name, code_address };

/// A graph with one node, which runs from 100 to 110, from 120 to 125 and from 130 on.
kzr::trace_encoder small(std::string_view name = "node") {
  auto file = recorded();
  file.domain(flow, "pwl.flow").string_handle(is_graph, "graph").string_handle(object_name, "object_name");
  file.string_handle(code_address, "code_address");
  file.task_group(flow, graph, {}, is_graph).task_group(flow, node, graph, 9);
  file.metadata_string(flow, node, object_name, name);
  file.at(100).task_begin(flow, node, graph, 9, 0).at(110).task_end(flow);
  file.at(120).task_begin(flow, node, graph, 9, 0).at(125).task_end(flow);
  return std::move(file.at(130).task_begin(flow, node, graph, 9, 0).task_end(flow));
}

std::string whole() { return small().end().take(); }

/// The object that the first picture of a page is made from.
json run_of(const std::string& page) {
  const std::string begin = R"(<script type="application/json" id="run">)";
  const std::size_t at = page.find(begin) + begin.size();
  return json::parse(page.substr(at, page.find("</script>", at) - at));
}

std::size_t count_of(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

class kzr_report : public testing::Test {
 protected:
  void write_run(const strings& files) const {
    fs::remove_all(directory_ / "run");
    for (std::size_t n = 0; n < files.size(); ++n) {
      write_file(directory_ / "run" / ("_kzr." + std::to_string(n)), files[n]);
    }
  }

  [[nodiscard]] program_result report(strings arguments, const strings& environment = {}) const {
    arguments.insert(arguments.begin(), {KZR_PROGRAM, "report"});
    return run_program(arguments, directory_.path(), environment);
  }

  [[nodiscard]] json figures(const strings& options = {}, const strings& environment = {}) const {
    strings arguments = {"--json", "run"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const program_result result = report(arguments, environment);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return json::parse(result.out);
  }

  scratch_directory directory_;
};

TEST_F(kzr_report, tells_the_figures_for_programs_and_people) {
  write_run({whole()});
  const json run = figures();
  EXPECT_EQ(run["run"]["name"], "run");
  EXPECT_EQ(run["run"]["frequency"], "1000");
  EXPECT_EQ(run["run"]["makespan_ticks"], 31);  // recorded times grow by one with each record
  EXPECT_EQ(run["run"]["damaged_files"], json::array());
  EXPECT_EQ(run["nodes"][0]["total_ticks"], 16);
  EXPECT_EQ(run["nodes"][0]["name"], "node");
  EXPECT_EQ(run["path"].size(), 3U);
  EXPECT_EQ(figures({"--from", "111", "--to", "126"})["run"]["executions"], 1);

  const program_result text = report({"--text", "run"});
  EXPECT_EQ(text.exit_status, 0);
  EXPECT_EQ(text.out.substr(0, 16), "run/_kzr: sound\n");
  EXPECT_NE(text.out.find("makespan             31 ticks = 0.031 s, from 100 to 131\n"), std::string::npos)
      << text.out;
}

TEST_F(kzr_report, sums_up_nodes_of_one_name_and_regions) {
  // Two nodes of one name, one of which is opened twice; while it is open, threads are busy for 10 and 20
  // ticks.
  auto first = small("twin");
  first.task_group(flow, {3, 0, 0}, graph, 9).metadata_string(flow, {3, 0, 0}, object_name, "twin");
  first.at(200).region_begin(flow, node, graph, 9).task_begin(flow, {3, 0, 0}, graph, 9, 0);
  first.at(211).task_end(flow).at(240).region_end(flow, node);
  first.at(300).region_begin(flow, node, graph, 9).at(310).region_end(flow, node).end();
  auto second = recorded();
  second.at(220).task_begin(flow, node, graph, 9, 0).at(250).task_end(flow).end();
  write_run({first.take(), second.take()});
  const auto rows_of = [this](const strings& options) {
    strings arguments = {"--text", "run"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return std::regex_replace(report(arguments).out, std::regex(" +"), " ");
  };
  const std::string text = rows_of({});
  EXPECT_NE(text.find("\n twin 2 50 33.3 25 0.60\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n twin 2 5 56 18.7 56 11 56\n"), std::string::npos) << text;
  // Of the regions one is wholly inside; of the executions so are two, and a part of a third.
  const std::string part = rows_of({"--from", "130", "--to", "245"});
  EXPECT_NE(part.find("\n twin 1 40 34.8 40 0.75\n"), std::string::npos) << part;
  EXPECT_NE(part.find("\n twin 2 2 36 15.7 36 18 36\n"), std::string::npos) << part;
  const std::string idle = rows_of({"--from", "295", "--to", "320"});
  EXPECT_NE(idle.find("\n twin 1 10 - 10 0.00\n"), std::string::npos) << idle;
}

TEST_F(kzr_report, lists_places_in_the_order_of_each_table) {
  // Most of the self time is at one place, most of the time of regions at the other.
  auto file = small("runner");
  file.task_group(flow, {3, 0, 0}, graph, 9).metadata_string(flow, {3, 0, 0}, object_name, "section");
  file.task_group(flow, {4, 0, 0}, graph, 9).metadata_string(flow, {4, 0, 0}, object_name, "section");
  file.at(200).region_begin(flow, node, graph, 9).region_end(flow, node);
  file.at(210).region_begin(flow, {3, 0, 0}, graph, 9).at(310).region_end(flow, {3, 0, 0});
  file.at(320).task_begin(flow, node, graph, 9, 0).at(520).task_end(flow);
  file.at(530).task_begin(flow, {3, 0, 0}, graph, 9, 0).task_end(flow);
  file.at(540).task_begin(flow, {4, 0, 0}, graph, 9, 0).task_end(flow).end();
  write_run({file.take()});
  const std::string text = report({"--text", "run"}).out;
  const auto row = [&text](const std::string& name, std::size_t from) {
    return text.find("\n  " + name, from);
  };
  const std::size_t regions = row("regions by place", 0);
  const std::size_t nodes = row("nodes by place", 0);
  ASSERT_TRUE(regions < nodes && nodes != std::string::npos) << text;
  EXPECT_LT(row("section ", regions), row("runner ", regions)) << text;
  EXPECT_LT(row("runner ", nodes), row("section ", nodes)) << text;
}

TEST_F(kzr_report, writes_a_page_named_after_the_run) {
  write_run({whole()});
  const program_result written = report({"run"});
  EXPECT_EQ(written.exit_status, 0) << written.err;
  const std::string page = read_file(directory_ / "run.html");
  EXPECT_EQ(written.out, "run/_kzr: sound\n\nWritten: run.html, " + std::to_string(page.size()) + " bytes\n");
  EXPECT_EQ(report({"run", "-o", "-"}).out, page);
  EXPECT_EQ(report({"run", "-o", "again.html"}).exit_status, 0);
  EXPECT_EQ(read_file(directory_ / "again.html"), page);
  EXPECT_EQ(run_of(page)["run"]["makespan_ticks"], 31);
  EXPECT_EQ(run_of(page)["range"], nullptr);
  const std::string part = report({"run", "-o", "-", "--from", "111", "--to", "126"}).out;
  EXPECT_EQ(run_of(part)["origin"], "5");
  EXPECT_EQ(run_of(part)["range"], (json{106, 121}));
  EXPECT_EQ(run_of(part)["run"]["executions"], 1);
  EXPECT_EQ(run_of(part)["executions"], 3);
}

TEST_F(kzr_report, leaves_nothing_half_written) {
  write_run({whole()});
  write_file(directory_ / "old.html", "old");
  fs::create_symlink("old.html", directory_ / "link.html");
  struct {
    std::string output;
    std::string reason;
  } const cases[] = {{"/dev/full", "No space left on device"},
                     {"nowhere/page.html", "there is no folder nowhere"},
                     {"run", "it is the name of a folder"},
                     {"run/_kzr.0", "it is a trace file of the run"}};
  for (const auto& [output, reason] : cases) {
    const program_result failed = report({"run", "-o", output});
    EXPECT_EQ(failed.exit_status, 2);
    EXPECT_EQ(failed.err, "kzr: " + output + " could not be written: " + reason + '\n');
    EXPECT_EQ(failed.out, "");
  }
  const std::string small_files = "ulimit -f 1; " KZR_PROGRAM " report run -o old.html";
  const program_result cut = run_program({"/bin/sh", "-c", small_files}, directory_.path());
  EXPECT_EQ(cut.exit_status, 2);
  EXPECT_EQ(cut.err, "kzr: old.html could not be written: File too large\n");
  EXPECT_EQ(read_file(directory_ / "old.html"), "old");
  EXPECT_EQ(report({"run", "-o", "link.html"}).exit_status, 0);
  EXPECT_TRUE(fs::is_symlink(directory_ / "link.html"));
  EXPECT_NE(read_file(directory_ / "old.html"), "old");
  const auto entries = std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator());
  EXPECT_EQ(entries, 3);  // the run, the page and the link
}

TEST_F(kzr_report, opens_the_page_where_the_desktop_can) {
  write_run({whole()});
  const program_result alone = report({"run", "--open"}, {"PATH=/nonexistent"});
  EXPECT_EQ(alone.exit_status, 0);
  EXPECT_EQ(alone.err,
            "kzr: the page could not be opened, only written: xdg-open: No such file or directory\n");
  // What is started hears of nothing but the page; the pipe tells when it is done.
  write_file(directory_ / "bin/xdg-open", "#!/bin/sh\nprintf %s \"$1\" >opened\n");
  fs::permissions(directory_ / "bin/xdg-open", fs::perms::owner_all);
  ASSERT_EQ(mkfifo((directory_ / "opened").c_str(), 0600), 0);
  EXPECT_EQ(report({"run", "--open"}, {"PATH=" + (directory_ / "bin").string()}).err, "");
  EXPECT_EQ(read_file(directory_ / "opened"), fs::absolute(directory_ / "run.html"));
}

TEST_F(kzr_report, covers_what_damaged_runs_have) {
  const std::string good = whole();
  auto wide = small();
  wide.wide_string_handle(7, u"w").task_begin(flow, node, graph, 9, 0).task_end(flow);
  struct {
    strings files;
    std::uint64_t executions;
    json damaged;
    json converter_end;
  } const cases[] = {
      {{good}, 3, json::array(), nullptr},
      {{good.substr(0, good.size() - 9 - 17)}, 3, {"run/_kzr.0"}, nullptr},  // without its last two records
      {{good, "", "Zup"}, 3, {"run/_kzr.1", "run/_kzr.2"}, nullptr},
      {{wide.end().take()},
       3,
       json::array(),
       "reading the records: Wide character strings not yet supported"},
      {{"<traces/>"}, 0, {"run/_kzr.0"}, "opening the trace files: XML trace file does not have trace tag"},
      {{recorded().end().take()}, 0, json::array(), nullptr},
  };
  for (const auto& [files, executions, damaged, converter_end] : cases) {
    write_run(files);
    const json run = figures();
    EXPECT_EQ(run["run"]["executions"], executions) << run["run"];
    EXPECT_EQ(run["run"]["damaged_files"], damaged);
    EXPECT_EQ(run["run"]["converter_end"], converter_end);
    if (executions == 0) {
      EXPECT_EQ(run["concurrency"], json::parse(R"([{"busy_threads": 0, "ticks": 0}])"));
      EXPECT_EQ(run["run"]["utilisation"], nullptr);
      EXPECT_EQ(run["path"], json::array());
    }
    const program_result dump = run_program({KZR_PROGRAM, "dump", "run"}, directory_.path());
    const std::string problems = dump.out.substr(0, dump.out.find("\n\n"));
    EXPECT_EQ(report({"--text", "run"}).out.substr(0, problems.size()), problems);
    const json in_page = run_of(report({"-o", "-", "run"}).out);
    EXPECT_EQ(in_page["run"], run["run"]);
    EXPECT_EQ(in_page["problems"].empty(), problems == "run/_kzr: sound");
  }
}

TEST_F(kzr_report, looks_into_openmp_when_the_trace_has_it) {
  auto file = small();
  file.domain(openmp, "openmp")
      .task_group(openmp, {5, 0, 0}, {}, is_graph)
      .task_group(openmp, {6, 0, 0}, {5, 0, 0}, 9);
  write_run({file.end().take()});
  EXPECT_EQ(figures()["nodes"][1]["id"], "omp1::n1");
  EXPECT_EQ(figures({"--no-omp"})["nodes"][1]["id"], "g1::n1");
}

TEST_F(kzr_report, shows_hostile_names_as_they_are_and_nothing_more) {
  struct {
    std::string name;
    std::string shown;
  } const cases[] = {
      {"\xff\xc2", "\xef\xbf\xbd\xef\xbf\xbd"},
      {"\xe2\x82z", "\xef\xbf\xbd\xef\xbf\xbdz"},
      {"\xc0\x80\xed\xa0\x80\xf4\x90\x80\x80",
       std::string("\xef\xbf\xbd") + "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd" +
           "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd"},
      {"\"\\\x01</script>\xf0\x9f\x98\x80", "\"\\\x01</script>\xf0\x9f\x98\x80"},
      {"<!--<script>\xe2\x80\xa8", "<!--<script>\xe2\x80\xa8"},
      {"\x1b[2J\n" + std::string(10000, 'x'), "\x1b[2J\n" + std::string(10000, 'x')},
  };
  write_run({whole()});
  const std::size_t elements = count_of("</script", report({"-o", "-", "run"}).out);
  for (const auto& [name, shown] : cases) {
    write_run({small(name).end().take()});
    EXPECT_EQ(figures()["nodes"][0]["name"], shown);
    const std::string text = report({"--text", "run"}).out;
    EXPECT_EQ(text.find_first_of("\x01\x1b\xff\xc0\xed"), std::string::npos);
    EXPECT_LT(text.size(), 3000U);
    const std::string page = report({"-o", "-", "run"}).out;
    EXPECT_EQ(run_of(page)["top"][0]["name"], shown);
    EXPECT_EQ(count_of("</script", page), elements) << name;
    EXPECT_EQ(page.find_first_of("\x01\x1b\xff\xc0\xed"), std::string::npos);
  }
}

TEST_F(kzr_report, finds_the_function_of_a_node) {
  Dl_info image{};
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&function_of_a_node), &image), 0);
  const auto first = reinterpret_cast<std::uint64_t>(image.dli_fbase);
  const auto address = reinterpret_cast<std::uint64_t>(&function_of_a_node);
  auto file = small();
  file.metadata(flow, node, code_address, value_type::u64, 1, address);
  const std::string run = file.end().take();
  const auto write_list = [this, first](const std::string& path, const std::string& name) {
    write_file(directory_ / path, name + ',' + std::to_string(first) + ",18446744073709551615,0,1\n");
  };
  const std::string own = fs::read_symlink("/proc/self/exe").string();
  write_run({run});
  EXPECT_EQ(figures()["nodes"][0]["function"], nullptr);
  write_list("run/imageload.csv", own);
  EXPECT_EQ(figures()["nodes"][0]["function"], "function_of_a_node");
  write_list("elsewhere/imageload.csv", "/dev/zero");
  EXPECT_EQ(figures({}, {"QZD_DIR=elsewhere"})["nodes"][0]["function"], nullptr);
  // A list that the converter would not read is no end of it.
  write_file(directory_ / "run/imageload.csv", "a,1,2,x,1\n");
  EXPECT_EQ(figures()["run"]["converter_end"], nullptr);
}

TEST_F(kzr_report, refuses_wrong_usage) {
  write_run({whole()});
  const strings cases[] = {{"--text", "--json", "run"},
                           {"-o", "page.html", "--json", "run"},
                           {"-o", "", "run"},
                           {"--open", "-o", "-", "run"},
                           {"--max-size", "0", "run"},
                           {"--max-size", "64MiB", "run"},
                           {"--text", "--from", "2", "--to", "1", "run"},
                           {"--text", "--from", "x", "run"},
                           {"--json", "nowhere"},
                           {"--text", "run", "run"}};
  for (const strings& arguments : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const program_result result = report(arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.substr(0, 5), "kzr: ");
  }
  EXPECT_FALSE(fs::exists(directory_ / "run.html"));
  for (const std::string form : {"--text", "--json", "-o -"}) {
    const program_result full =
        run_program({"/bin/sh", "-c", KZR_PROGRAM " report run " + form + " >/dev/full"}, directory_.path());
    EXPECT_EQ(full.exit_status, 2);
  }
}

}  // namespace
