#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace {

namespace fs = std::filesystem;

using kzr::object_id;
using nlohmann::json;
using strings = std::vector<std::string>;

constexpr object_id graph{1, 0, 0}, node{2, 0, 0};
enum : std::uint64_t { flow = 1, is_graph, object_name };

struct format {
  std::string name;
  std::string output;  ///< of a run in the directory `run`, without another path
  bool is_stream;
};

const format formats[] = {{"perfetto", "run.pftrace", true},
                          {"speedscope", "run.speedscope.json", true},
                          {"graphml", "run.graphml", true},
                          {"dot", "run.dot", true},
                          {"sqlite", "run.db", false}};

/// A graph with one node, which runs from 100 to 110 and again from 120 on.
kzr::trace_encoder small(std::string_view name = "node") {
  auto file = recorded();
  file.domain(flow, "pwl.flow").string_handle(is_graph, "graph").string_handle(object_name, "object_name");
  file.task_group(flow, graph, {}, is_graph).task_group(flow, node, graph, 9);
  file.metadata_string(flow, node, object_name, name);
  file.at(100).task_begin(flow, node, graph, 9, 0).at(110).task_end(flow);
  return std::move(file.at(120).task_begin(flow, node, graph, 9, 0));
}

class kzr_export : public testing::Test {
 protected:
  kzr_export() { write_run({small().task_end(flow).end().take()}); }

  void write_run(const strings& files) const {
    fs::remove_all(directory_ / "run");
    for (std::size_t n = 0; n < files.size(); ++n) {
      write_file(directory_ / "run" / ("_kzr." + std::to_string(n)), files[n]);
    }
  }

  [[nodiscard]] program_result export_run(strings arguments) const {
    arguments.insert(arguments.begin(), {KZR_PROGRAM, "export"});
    return run_program(arguments, directory_.path());
  }

  /// What is in the scratch directory, hidden files too.
  [[nodiscard]] strings names() const {
    strings names;
    for (const auto& entry : fs::directory_iterator(directory_.path())) {
      names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
  }

  scratch_directory directory_;
};

TEST_F(kzr_export, writes_a_whole_output_in_place_of_an_older_one) {
  for (const auto& [name, output, is_stream] : formats) {
    SCOPED_TRACE(name);
    const program_result first = export_run({"--to", name, "run"});
    EXPECT_EQ(first.exit_status, 0);
    EXPECT_EQ(first.out + first.err, "");
    const std::string bytes = read_file(directory_ / output);
    EXPECT_NE(bytes.find("node"), std::string::npos);
    write_file(directory_ / "other", "older and longer" + bytes);
    fs::create_symlink("other", directory_ / "link");
    EXPECT_EQ(export_run({"--to", name, "run", "-o", "link"}).exit_status, 0);
    EXPECT_TRUE(fs::is_symlink(directory_ / "link"));
    EXPECT_EQ(read_file(directory_ / "other"), bytes);
    if (is_stream) {
      EXPECT_EQ(export_run({"--to", name, "run", "-o", "-"}).out, bytes);
    }
    for (const std::string& left : {output, std::string("other"), std::string("link")}) {
      fs::remove(directory_ / left);
    }
    EXPECT_EQ(names(), strings{"run"});
  }
}

TEST_F(kzr_export, leaves_nothing_of_what_cannot_be_written) {
  write_run({small(std::string(5000, 'x')).end().take()});
  fs::create_directory(directory_ / "folder");
  struct {
    std::string shell;  ///< in front of the program
    std::string path;
    std::string message;
  } const cases[] = {
      {"ulimit -f 1; ", "file", "file could not be written: File too large\n"},
      {"", "folder", "folder could not be written: it is the name of a folder\n"},
      {"", "new/", "new/ could not be written: it is the name of a folder\n"},
      {"", "nowhere/file", "nowhere/file could not be written: there is no folder nowhere\n"},
      {"", "run/_kzr.0", "run/_kzr.0 could not be written: it is a trace file of the run\n"},
      {"", "/proc/file", "/proc/file could not be written: No such file or directory\n"},
  };
  const std::string trace = read_file(directory_ / "run/_kzr.0");
  for (const auto& [name, output, is_stream] : formats) {
    const std::string exporting = std::string(KZR_PROGRAM) + " export run --to " + name + ' ';
    const auto run_in_shell = [this, &exporting](const std::string& before, const std::string& options) {
      const std::string command = before + exporting + options;
      return run_program({"/bin/sh", "-c", command}, directory_.path());
    };
    for (const auto& [shell, path, message] : cases) {
      SCOPED_TRACE(name + ' ' + shell + path);
      const program_result result = run_in_shell(shell, "-o " + path);
      EXPECT_EQ(result.exit_status, 2);
      EXPECT_EQ(result.err, "kzr: " + message);
      EXPECT_EQ(names(), (strings{"folder", "run"}));
    }
    for (const std::string full : {"-o /dev/full", "-o - >/dev/full"}) {
      SCOPED_TRACE(name + ' ' + full);
      const program_result result = run_in_shell("", full);
      EXPECT_EQ(result.exit_status, 2);
      EXPECT_EQ(result.err.substr(0, 5), "kzr: ");
      if (is_stream) {
        EXPECT_NE(result.err.find("could not be written: No space left on device"), std::string::npos);
      }
    }
  }
  EXPECT_EQ(read_file(directory_ / "run/_kzr.0"), trace);
}

TEST_F(kzr_export, writes_a_folder_where_nothing_is) {
  EXPECT_EQ(export_run({"--to", "csv", "run"}).exit_status, 0);
  EXPECT_EQ(names(), (strings{"run", "run.csv.d"}));
  const std::string head = "id,node,thread,begin,end,self,depth\r\n";
  EXPECT_EQ(read_file(directory_ / "run.csv.d/execution.csv"),
            head + "1,g0::n0,0,100,110,10,0\r\n2,g0::n0,0,120,121,1,0\r\n");
  EXPECT_EQ(export_run({"--to", "csv", "--part-rows", "1", "-o", "parts", "run"}).exit_status, 0);
  EXPECT_EQ(read_file(directory_ / "parts/execution-00002.csv"), head + "2,g0::n0,0,120,121,1,0\r\n");
  fs::remove_all(directory_ / "parts");

  fs::create_directory(directory_ / "empty");
  write_run({small(std::string(5000, 'x')).end().take()});
  const struct {
    std::string arguments;
    std::string message;
  } cases[] = {
      {"", "run.csv.d could not be written: it exists already\n"},
      {"-o empty", "empty could not be written: it exists already\n"},
      {"-o nowhere/folder", "nowhere/folder could not be written: there is no folder nowhere\n"},
      {"-o folder", "folder could not be written: File too large\n"},
  };
  for (const auto& [arguments, message] : cases) {
    const std::string command = "ulimit -f 1; " KZR_PROGRAM " export run --to csv " + arguments;
    const program_result result = run_program({"/bin/sh", "-c", command}, directory_.path());
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "kzr: " + message);
    EXPECT_EQ(names(), (strings{"empty", "run", "run.csv.d"}));
  }
}

TEST_F(kzr_export, writes_damaged_and_empty_runs) {
  const std::string good = small().take();
  const std::vector<strings> runs = {{good.substr(0, good.size() - 5)},
                                     {good, "", "Zup"},
                                     {small().wide_string_handle(7, u"w").end().take()},
                                     {recorded().end().take()},
                                     {"<traces/>"}};
  for (const strings& run : runs) {
    write_run(run);
    for (const auto& [name, output, is_stream] : formats) {
      SCOPED_TRACE(name);
      EXPECT_EQ(export_run({"--to", name, "run"}).exit_status, 0);
      EXPECT_GT(fs::file_size(directory_ / output), 0U);
    }
  }
  write_run(runs[1]);
  EXPECT_EQ(export_run({"--to", "perfetto", "run"}).err,
            "kzr: warning: run/_kzr is not sound: _kzr.0: without end record; \"kzr dump\" tells 3 more\n");
  write_run({recorded().end().take()});
  EXPECT_EQ(export_run({"--to", "perfetto", "run"}).err, "");
  EXPECT_EQ(export_run({"--to", "speedscope", "run"}).err,
            "kzr: warning: nothing ran; speedscope shows no file without a profile\n");
}

TEST_F(kzr_export, shows_hostile_names_as_they_are_and_nothing_more) {
  const std::string replaced = "\xef\xbf\xbd";
  const struct {
    std::string name;
    std::string shown;
  } cases[] = {
      {"\xff\xc2\xe2\x82z", replaced + replaced + replaced + replaced + "z"},
      {"\"},{\"\\\x01\n</script>\xf0\x9f\x98\x80", "\"},{\"\\\x01\n</script>\xf0\x9f\x98\x80"},
      {std::string(300000, 'x'), std::string(300000, 'x')},
  };
  for (const auto& [name, shown] : cases) {
    write_run({small(name).end().take()});
    const json file = json::parse(export_run({"--to", "speedscope", "-o", "-", "run"}).out);
    EXPECT_EQ(file["shared"]["frames"], json::parse("[{\"name\":" + json(shown).dump() + "}]"));
    EXPECT_EQ(file["profiles"][0]["events"].size(), 4U);
    const std::string trace = export_run({"--to", "perfetto", "-o", "-", "run"}).out;
    EXPECT_NE(trace.find(shown), std::string::npos);
  }
}

TEST_F(kzr_export, refuses_wrong_usage) {
  const struct {
    strings arguments;
    std::string message;
  } cases[] = {
      {{"run"}, "kzr: --to is required\n"},
      {{"--to", "perfeto", "run"}, "kzr: --to: there is no format \"perfeto\"; did you mean \"perfetto\"?\n"},
      {{"--to", "json", "run"},
       "kzr: --to: there is no format \"json\", only perfetto, speedscope, graphml, dot, sqlite, csv\n"},
      {{"--to", "perfetto", "--part-rows", "5", "run"},
       "kzr: --part-rows: is for formats that are a folder\n"},
      {{"--to", "sqlite", "-o", "-", "run"},
       "kzr: -o: sqlite is no stream that standard output could take\n"},
      {{"--to", "csv", "-o", "-", "run"}, "kzr: -o: csv is no stream that standard output could take\n"},
      {{"--to", "perfetto", "-o", "", "run"}, "kzr: --output: a path is not empty\n"},
      {{"--to", "perfetto", "nowhere"}, "kzr: there is neither a directory nowhere nor a trace file"},
  };
  for (const auto& [arguments, message] : cases) {
    const program_result result = export_run(arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err.substr(0, message.size()), message);
    EXPECT_EQ(names(), strings{"run"});
  }
}

}  // namespace
