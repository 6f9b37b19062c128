// Programs of both compilers, recorded by `kzr record` and converted.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

using strings = std::vector<std::string>;

/// What a converted run shows.
struct shown_run {
  std::string timeline;
  std::string structure;  ///< all documents

  [[nodiscard]] std::size_t count(const std::string& pattern) const { return count(timeline, pattern); }
  [[nodiscard]] std::size_t regions() const { return count("<region_begin "); }
  [[nodiscard]] std::size_t ended_regions() const { return count("<region_end "); }
  // Implicit tasks and barriers have two lines each.
  [[nodiscard]] std::size_t implicit_tasks() const { return count("id=\"omp_implicit_") / 2; }
  [[nodiscard]] std::size_t barriers() const { return count("id=\"omp_barrier_") / 2; }
  [[nodiscard]] std::size_t task_begins() const { return count("<task_begin .*type=\"node\""); }
  [[nodiscard]] std::size_t task_nodes() const { return count("node_type=\"node\""); }
  [[nodiscard]] std::size_t edges() const { return count("<make_edge "); }
  [[nodiscard]] std::set<std::string> names() const {
    std::set<std::string> found;
    const std::regex name("<data key=\"d0\">([^<]*)</data>");
    for (std::sregex_iterator it(structure.begin(), structure.end(), name), end; it != end; ++it) {
      found.insert((*it)[1]);
    }
    return found;
  }

  static std::size_t count(const std::string& text, const std::string& pattern) {
    const std::regex expression(pattern);
    std::size_t lines = 0;
    std::istringstream input(text);
    for (std::string line; std::getline(input, line);) lines += std::regex_search(line, expression) ? 1 : 0;
    return lines;
  }
};

class recorded_program : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] std::string program() const { return KZR_OPENMP_PROGRAM + GetParam(); }

  [[nodiscard]] program_result record(const std::string& scenario, const strings& environment = {}) const {
    for (const fs::directory_entry& old : fs::directory_iterator(scratch_.path())) fs::remove_all(old);
    strings all = environment;
    all.insert(all.end(), {"OMP_WAIT_POLICY=passive", "OMP_CANCELLATION=true"});
    return run_program({KZR_PROGRAM, "record", "-o", "run", program(), scenario}, scratch_.path(), all);
  }

  [[nodiscard]] shown_run convert(const std::string& directory = "run") const {
    const auto result = run_kzr2xml({"shown", "--omp_experimental"}, scratch_.path(),
                                    {"QZD_DIR=" + (scratch_ / directory).string()});
    EXPECT_EQ(result.exit_status, 0);
    shown_run run{.timeline = read_file(scratch_ / "shown.traceml"), .structure = {}};
    for (const fs::directory_entry& file : fs::directory_iterator(scratch_.path())) {
      if (file.path().extension() == ".graphml") run.structure += read_file(file.path());
    }
    return run;
  }

  /// The problems that `kzr dump` names. A region at the top has no region around it, which always counts as
  /// odd.
  [[nodiscard]] strings problems(const std::string& directory = "run") const {
    const auto result = run_program({KZR_PROGRAM, "dump", "--omp_experimental", directory}, scratch_.path());
    strings found;
    std::istringstream lines(result.out);
    for (std::string line; std::getline(lines, line) && !line.empty();) {
      if (line.starts_with("  ") && line.find("Parallel region has unexpected parent") == std::string::npos) {
        found.push_back(line);
      }
    }
    return found;
  }

  /// Records the scenario, which must end well and give a sound run, and converts it.
  [[nodiscard]] shown_run show(const std::string& scenario) const {
    const auto result = record(scenario);
    EXPECT_EQ(result.exit_status, 0) << result.err;
    EXPECT_EQ(problems(), strings{});
    shown_run run = convert();
    EXPECT_EQ(run.regions(), run.ended_regions());
    return run;
  }

  scratch_directory scratch_;
};

TEST_P(recorded_program, shows_its_regions_tasks_and_dependences) {
  struct {
    std::string scenario;
    std::size_t regions, implicit_tasks, task_nodes, task_begins, edges;
    std::string name;
  } const cases[] = {
      {"regions", 3, 5, 0, 0, 0, "regions"},
      {"nested", 3, 6, 0, 0, 0, "nested"},
      {"many_threads", 1, 64, 0, 0, 0, "many_threads"},
      {"serial_tasks", 1, 1, 2, 2, 0, "serial_tasks"},
      {"outside", 0, 0, 2, 2, 1, "outside"},
      // From the first task to three, from the third to the last. Of the task that waits the runtime tells no
      // dependence, and nobody runs what the runtime makes to wait for it.
      {"dependences", 1, 2, 6, 6, 4, "dependences"},
      {"task_loop", 1, 2, 50, 50, 0, "task_loop"},
      {"teams", GetParam() == "clang" ? 2U : 1U, GetParam() == "clang" ? 2U : 1U, 0, 0, 0, "teams"},
      {"root_threads", 3, 6, 0, 0, 0, "one_region"},
      {"cancelled_thread", 1, 1, 0, 0, 0, "serial_region"},
      {"late_region", 2, 4, 0, 0, 0, "one_region"},
      {"closed_files", 2, 4, 0, 0, 0, "one_region"},
  };
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.scenario);
    const shown_run run = show(expected.scenario);
    EXPECT_EQ(run.regions(), expected.regions);
    EXPECT_EQ(run.implicit_tasks(), expected.implicit_tasks);
    EXPECT_EQ(run.task_nodes(), expected.task_nodes);
    EXPECT_EQ(run.task_begins(), expected.task_begins);
    EXPECT_EQ(run.edges(), expected.edges);
    // A region in a construct that is no region itself has the name of clang's own function.
    const std::set<std::string> names =
        expected.scenario == "teams" && GetParam() == "clang" ? run.names() : std::set{expected.name};
    EXPECT_EQ(run.names(), names);
  }
}

TEST_P(recorded_program, nests_what_runs_while_a_task_waits) {
  const shown_run run = show("serial_tasks");
  // Region, implicit task (two lines), both tasks; then the ends of the inner and the outer one.
  EXPECT_TRUE(std::regex_search(run.timeline, std::regex("n1\" type=\"node\"[^\\n]*\\n(<node [^\\n]*\\n)*"
                                                         "<task_begin [^\\n]*n2\" type=\"node\"[^\\n]*\\n"
                                                         "<task_end [^\\n]*\\n<task_end ")))
      << run.timeline;
}

TEST_P(recorded_program, ends_a_worker_s_tasks_with_the_region) {
  const shown_run run = show("late_region");
  // When the second region comes, all that the first one began has ended, but for the begin of the region as
  // a whole, which opens nothing.
  const std::string first = run.timeline.substr(0, run.timeline.rfind("<region_begin "));
  EXPECT_EQ(shown_run::count(first, "<task_end "), shown_run::count(first, "<task_begin ") - 1) << first;
}

TEST_P(recorded_program, begins_untied_tasks_where_they_go_on_and_cancelled_ones_never) {
  const shown_run untied = show("untied");
  EXPECT_EQ(untied.task_nodes(), 8U);
  EXPECT_GE(untied.task_begins(), 8U);
  const shown_run cancelled = show("cancelled");
  EXPECT_EQ(cancelled.task_nodes(), 10U);
  EXPECT_LT(cancelled.task_begins(), 10U);
}

TEST_P(recorded_program, is_whole_however_it_ends_by_itself) {
  EXPECT_EQ(record("exit_inside").exit_status, 7);
  EXPECT_EQ(problems(), strings{});
  EXPECT_EQ(convert().regions(), 1U);

  EXPECT_EQ(record("forked").exit_status, 0);
  for (const auto& [directory, regions] : {std::pair{"run", 2U}, {"run.2", 1U}}) {
    EXPECT_EQ(problems(directory), strings{});
    EXPECT_EQ(convert(directory).regions(), regions);
  }
  EXPECT_FALSE(fs::exists(scratch_ / "run.3"));
}

TEST_P(recorded_program, converts_when_it_was_killed_or_left_at_once) {
  for (const auto& [scenario, status, signal] :
       {std::tuple{"killed", -1, SIGKILL}, {"left", 5, 0}, {"left_quickly", 6, 0}}) {
    SCOPED_TRACE(scenario);
    const auto result = record(scenario);
    EXPECT_EQ(result.exit_status, status);
    EXPECT_EQ(result.signal, signal);
    const shown_run run = convert();
    EXPECT_GE(run.regions(), 1U);
    EXPECT_GT(run.task_begins(), 15000U);
  }
}

TEST_P(recorded_program, has_its_streams_and_signals) {
  const std::string shell = "printf 'one\\ntwo\\n' | '" KZR_PROGRAM "' record -o copied " + program() +
                            " copy_input 2>messages; echo $?; head -n 1 messages;"
                            "'" KZR_PROGRAM "' record -o ended " +
                            program() +
                            " wait_for_signal >ready 2>/dev/null & "
                            "until [ -s ready ]; do sleep 0.05; done; kill -USR1 $!; wait $!; echo $?";
  const auto result = run_program({"/bin/sh", "-c", shell}, scratch_.path());
  EXPECT_EQ(result.out, "one\ntwo\n9\nto standard error\n10\n");
  for (const char* const directory : {"copied", "ended"}) EXPECT_EQ(problems(directory), strings{});
}

TEST_P(recorded_program, gets_each_signal_that_it_would_get_without_the_command_and_no_other) {
  const std::string command = " '" KZR_PROGRAM "' record -o run " + program();
  const auto run = [this](const std::string& shell) {
    return run_program({"/bin/sh", "-c", shell + "; rm -r run"}, scratch_.path());
  };
  EXPECT_EQ(run("setsid --wait" + command + " signal_group; echo $?").out, "1\n");
  const std::string timer = "perl -e 'alarm 1; exec @ARGV'" + command;
  EXPECT_EQ(run(timer + " wait_for_signal; echo $?").out, "ready\n" + std::to_string(128 + SIGALRM) + '\n');
}

TEST_P(recorded_program, gives_the_same_structure_each_time) {
  for (const std::string scenario : {"regions", "serial_tasks", "task_loop"}) {
    const std::string first = show(scenario).structure;
    EXPECT_EQ(show(scenario).structure, first);
  }
}

TEST_P(recorded_program, knows_the_lines_of_the_source) {
  EXPECT_EQ(record("one_region").exit_status, 0);
  const std::string report = run_program({KZR_PROGRAM, "report", "--json", "run"}, scratch_.path()).out;
  EXPECT_TRUE(std::regex_search(report, std::regex("openmp_program\\.c:[1-9]"))) << report;
}

TEST_P(recorded_program, has_a_page_of_each_recording_that_asks_for_it) {
  const auto report = [this](const std::string& directory, const std::string& scenario) {
    return run_program({KZR_PROGRAM, "record", "--report", "-o", directory, program(), scenario},
                       scratch_.path());
  };
  const auto both = report("run", "forked");
  EXPECT_EQ(both.exit_status, 0);
  for (const std::string name : {"run", "run.2"}) {
    EXPECT_TRUE(fs::is_regular_file(scratch_ / (name + ".html")));
    EXPECT_NE(both.err.find("kzr: the report of " + name + " is " + name + ".html\n"), std::string::npos);
  }
  fs::create_directory(scratch_ / "taken.html");
  const auto unwritable = report("taken", "exit_inside");
  EXPECT_EQ(unwritable.exit_status, 7);
  EXPECT_NE(unwritable.err.find("kzr: taken.html could not be written: "), std::string::npos)
      << unwritable.err;
}

TEST_P(recorded_program, leaves_nothing_when_there_is_nothing_to_record) {
  const auto disabled = record("one_region", {"OMP_TOOL=disabled"});
  EXPECT_EQ(disabled.exit_status, 0);
  EXPECT_EQ(disabled.err, "kzr: nothing was recorded: OMP_TOOL is set to \"disabled\"\n");
  EXPECT_FALSE(fs::exists(scratch_ / "run"));
  struct {
    std::string command;
    int exit_status;
  } const cases[] = {{"no_such_program", 127}, {"-x", 127}, {"--", 127}, {"./unreadable", 126}, {"true", 0}};
  write_file(scratch_ / "unreadable", "no program");
  for (const auto& expected : cases) {
    SCOPED_TRACE(expected.command);
    const auto result =
        run_program({KZR_PROGRAM, "record", "-o", "run/deep/", "--", expected.command}, scratch_.path());
    EXPECT_EQ(result.exit_status, expected.exit_status);
    EXPECT_FALSE(fs::exists(scratch_ / "run"));
  }
  write_file(scratch_ / "run" / "mine", "");
  EXPECT_EQ(record("one_region").exit_status, 0);
  write_file(scratch_ / "kept" / "mine", "");
  EXPECT_EQ(run_program({KZR_PROGRAM, "record", "-o", "kept", "true"}, scratch_.path()).exit_status, 125);
}

TEST_P(recorded_program, is_recorded_beside_what_is_there) {
  fs::create_directory(scratch_ / "own");
  fs::create_directory_symlink("own", scratch_ / "link");
  write_file(scratch_ / "link.2" / "mine", "");
  EXPECT_EQ(run_program({KZR_PROGRAM, "record", "-o", "link", "true"}, scratch_.path()).exit_status, 0);
  EXPECT_TRUE(fs::is_directory(scratch_ / "link"));
  const std::string twice = program() + " one_region; " + program() + " one_region";
  const auto result =
      run_program({KZR_PROGRAM, "record", "-o", "link/", "/bin/sh", "-c", twice}, scratch_.path());
  EXPECT_NE(result.err.find(", in link.3"), std::string::npos) << result.err;
  for (const char* const directory : {"link", "link.3"}) EXPECT_EQ(problems(directory), strings{});
  EXPECT_FALSE(fs::exists(scratch_ / "link.2" / "_kzr.0"));

  const std::string here = "cd here; export KZR_RECORD_DIRECTORY=.; " + twice;
  fs::create_directory(scratch_ / "here");
  static_cast<void>(
      run_program({KZR_PROGRAM, "record", "-o", "run", "/bin/sh", "-c", here}, scratch_.path()));
  for (const char* const directory : {"here", "here.2"}) EXPECT_EQ(problems(directory), strings{});
}

TEST_P(recorded_program, is_named_as_the_shell_takes_it) {
  const auto result =
      run_program({KZR_PROGRAM, "record", "-o", "-it's", "--", program(), "one_region"}, scratch_.path());
  EXPECT_NE(result.err.find("\"kzr report './-it'\\''s'\"\n"), std::string::npos) << result.err;
}

TEST_P(recorded_program, stops_the_recording_and_not_the_program_when_a_file_grows_too_large) {
  const std::string shell = "ulimit -f 1000; '" KZR_PROGRAM "' record -o run " + program() + " left";
  const auto result = run_program({"/bin/sh", "-c", shell}, scratch_.path());
  EXPECT_EQ(result.exit_status, 5);
  EXPECT_EQ(shown_run::count(result.err, "ends here: File too large"), 1U) << result.err;
}

INSTANTIATE_TEST_SUITE_P(compilers, recorded_program, testing::Values("clang", "gcc"),
                         [](const auto& compiler) { return compiler.param; });

}  // namespace
