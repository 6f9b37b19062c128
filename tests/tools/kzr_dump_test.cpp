#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "support/recorded.h"
#include "support/run_program.h"
#include "support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

using kzr::object_id;
using kzr::trace_form;
using nlohmann::json;
using strings = std::vector<std::string>;

constexpr object_id graph{1, 0, 0};
constexpr object_id node{2, 0, 0};

/// A graph with a node that runs once: eight records at the times 1 to 8.
kzr::trace_encoder small(trace_form form = trace_form::binary) {
  auto file = recorded(form);
  file.domain(1, "pwl.flow").domain(2, "mine").string_handle(3, "graph").task_group(1, graph, {}, 3);
  file.task_group(1, node, graph, 9)
      .task_begin(1, node, graph, 5, 0)
      .task_end(1)
      .task_begin(2, node, graph, 5, 0);
  return file;
}

std::string whole() { return small().end().take(); }
std::string late(std::uint64_t time) { return recorded().at(time).id_create(7, node).end().take(); }

std::string xml(const std::string& attributes, const std::string& records) {
  return "<trace " + attributes + ">" + records + "</trace>";
}
const std::string header = R"(version="0" ts_frequency="1000" hardware_concurrency="4")";
const std::string task_end = "<record><r>task_end</r><t>1</t><d>1</d></record>";
const std::string end_element = "<record><r>end_of_records</r><t>9</t></record>";

class kzr_dump : public testing::Test {
 protected:
  void write_run(const strings& files) const {
    fs::remove_all(directory_ / "run");
    for (std::size_t n = 0; n < files.size(); ++n) {
      // A place without a file is a missing number.
      if (files[n] != "-") write_file(directory_ / "run" / ("_kzr." + std::to_string(n)), files[n]);
    }
  }

  [[nodiscard]] program_result dump(strings arguments, const strings& environment = {}) const {
    arguments.insert(arguments.begin(), {KZR_PROGRAM, "dump"});
    return run_program(arguments, directory_.path(), environment);
  }

  /// The summary as JSON, and the exit status that must go with it.
  [[nodiscard]] json summary(const strings& options = {}) const {
    strings arguments = {"--json", "run/_kzr"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const program_result result = dump(arguments);
    const json parsed = json::parse(result.out, nullptr, false);
    EXPECT_FALSE(parsed.is_discarded()) << result.out << result.err;
    EXPECT_EQ(result.exit_status, parsed.value("sound", false) ? 0 : 1);
    return parsed;
  }

  scratch_directory directory_;
};

TEST_F(kzr_dump, counts_what_is_in_a_sound_run) {
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    write_run({small(form).end().take(), late(2501)});
    const json run = summary();
    EXPECT_EQ(run["problems"], json::array());
    const json& first = run["files"][0];
    EXPECT_EQ(first["format"], form == trace_form::xml ? "xml" : "binary");
    EXPECT_EQ(first["end"], "closed");
    EXPECT_EQ(first["records_by_kind"], json::parse(R"({"domain_createA": 2, "string_handle_createA": 1,
        "task_group": 2, "task_begin": 2, "task_end": 1, "end_of_records": 1})"));
    EXPECT_EQ(run["files"][1]["first_timestamp"], 2501);
    EXPECT_EQ(run["duration_ticks"], 2501);  // the end record of the second file counts
    EXPECT_EQ(run["duration_seconds"], 2.501);
    EXPECT_EQ(run["records"], 9);
    EXPECT_EQ(run["ignored_records"], 1);
    EXPECT_EQ(run["threads"], 2);
    EXPECT_EQ(run["domains"], json::parse(R"([
        {"handle": 1, "name": "pwl.flow", "type": "pwl.flow", "records": 4},
        {"handle": 2, "name": "mine", "type": "unknown", "records": 1}])"));
    EXPECT_EQ(run["tasks"], json::parse(R"([{"thread": 0, "begun": 1, "ended": 1, "unmatched_begins": 0,
        "unmatched_ends": 0}])"));
    EXPECT_EQ(run["model"]["graphs"], 1);
    EXPECT_EQ(run["model"]["nodes"], 1);
    EXPECT_EQ(run["model"]["edges"], 0);
  }
}

TEST_F(kzr_dump, tells_everything_that_is_wrong) {
  const std::string good = whole();
  const std::string open = good.substr(0, good.size() - 9);  // without its end record
  const std::string at_end = " at byte " + std::to_string(open.size());
  const std::string no_value =
      "<record><r>metadata</r><t>1</t><d>1</d><i><a>1</a><b>1</b><c>1</c></i><k>1</k><y>1</y><n>1</n></"
      "record>";
  const std::string fatal = "kzr2xml would end itself while opening the trace files: ";
  const std::string no_number = "metadata without value or with a type that is no number";
  const std::string while_reading = "kzr2xml would end itself while reading the records: ";
  const std::string no_trace = "XML trace file does not have trace tag";
  struct {
    strings files;
    strings problems;
  } const cases[] = {
      {{good.substr(0, good.size() - 3)}, {"_kzr.0: damaged: incomplete record" + at_end}},
      {{open}, {"_kzr.0: without end record"}},
      {{open + "\xC8" + "12345678"}, {"_kzr.0: damaged: unknown record (kind 200)" + at_end}},
      {{good + "xyz"}, {"_kzr.0: 3 bytes behind the end record"}},
      {{"", good}, {"_kzr.0: empty"}},
      {{good, "Zup"}, {"_kzr.1: foreign: begins with byte 90, a trace file with \"A\", \"a\" or \"<\""}},
      {{"Zup"},
       {"_kzr.0: foreign: begins with byte 90, a trace file with \"A\", \"a\" or \"<\"",
        "kzr2xml would end itself while writing the timeline: no trace file can be used"}},
      {{good, "a12345"}, {"_kzr.1: header cut"}},
      {{good, xml("version=\"1\"", "")}, {"_kzr.1: unsupported version: version 1"}},
      {{good, xml("v=\"0\"", ""), good},
       {"_kzr.1: without version: no version in its root element",
        "the list of files ends at number 1, but there is 1 file with a greater one, up to 2"}},
      {{good, "-", "-", good, good},
       {"the list of files ends at number 1, but there are 2 files with a greater one, up to 4"}},
      {{xml(header, "")}, {"_kzr.0: damaged: no records"}},
      {{xml(header, task_end + "<record><r>x</r><t>2</t></record>")},
       {"_kzr.0: damaged: unknown record at record 2"}},
      {{xml(header, task_end)}, {"_kzr.0: without end record"}},
      {{xml(header, end_element + end_element)}, {"_kzr.0: 1 record behind the end record"}},
      {{"<trace " + header + ">" + task_end + "<"}, {"_kzr.0: damaged: mark-up not understood at record 2"}},
      {{"<traces/>", good}, {"_kzr.0: fatal: " + no_trace, fatal + no_trace}},
      {{xml(header, end_element), xml(header, no_value)},
       {"_kzr.1: fatal: " + no_number + " at record 1", fatal + no_number}},
      {{xml(header, task_end + no_value)},
       {"_kzr.0: fatal: " + no_number + " at record 2", while_reading + no_number}},
      {{xml(R"(version="0" ts_frequency="x" hardware_concurrency="y")", end_element)},
       {"kzr2xml would end itself while writing the timeline: \"y\" is no number of hardware threads",
        "the frequency \"x\" is no number of ticks per second"}},
      {{good, kzr::trace_encoder(trace_form::binary, 2000, 4).end().take()},
       {"_kzr.1: 2000 ticks per second and 4 hardware threads, where the run has 1000 and 4"}},
      {{small().at(3).end().take()}, {"_kzr.0: 1 record with an earlier time than the one before"}},
      {{small().task_end(1).task_end(1).task_begin(1, node, graph, 5, 0).end().take()},
       {"thread 0: 1 task without end", "thread 0: 2 task ends without task"}},
      {{small().wide_string_handle(4, u"w").end().take()},
       {while_reading + "Wide character strings not yet supported"}},
      {{small().task_group(1, {5, 0, 0}, {6, 0, 0}, 9).task_group(1, {7, 0, 0}, {6, 0, 0}, 9).end().take()},
       {"warning: Node has a parent that is not a graph, dropping node. (2)"}},
  };
  for (const auto& [files, problems] : cases) {
    SCOPED_TRACE(testing::PrintToString(problems));
    write_run(files);
    EXPECT_EQ(summary()["problems"].get<strings>(), problems);
    const program_result text = dump({"run/_kzr"});
    EXPECT_EQ(text.exit_status, 1);
    for (const std::string& problem : problems)
      EXPECT_NE(text.out.find("  " + problem + '\n'), std::string::npos);
    EXPECT_EQ(text.err, "");
  }
}

TEST_F(kzr_dump, tells_few_files_one_by_one_and_many_in_sum) {
  const std::string titles = R"(
                    string_                          end_
  records  domain_  handle_  task_  task_  task_      of_
  by kind  createA  createA  begin    end  group  records
)";
  strings files = {whole(), small().task_end(1).take()};
  write_run(files);
  const std::string few = dump({"run"}).out;
  EXPECT_NE(few.find(titles + "  _kzr.0         2        1      2      1      2        1\n"
                              "  _kzr.1         2        1      2      2      2        0\n"
                              "  all            4        2      4      3      4        1\n"),
            std::string::npos)
      << few;
  files.resize(50, whole());
  write_run(files);
  const std::string many = dump({"run"}).out;
  EXPECT_NE(many.find(titles + "  all          100       50    100     51    100       49\n"),
            std::string::npos)
      << many;
}

TEST_F(kzr_dump, tallies_with_the_openmp_paths_when_asked) {
  // An implicit task without a region, and a node below it: only known to be inside of a region.
  write_run({recorded()
                 .domain(1, "openmp")
                 .string_handle(3, "omp_implicit")
                 .task_group(1, graph, {}, 3)
                 .task_group(1, node, graph, 9)
                 .end()
                 .take()});
  EXPECT_EQ(summary()["warnings"], json::parse(R"([
      {"message": "Node has a parent that is not a graph, dropping node.", "count": 1}])"));
  EXPECT_EQ(summary({"--omp_experimental"})["warnings"].size(), 2U);
}

TEST_F(kzr_dump, calls_ordinary_openmp_sound_and_counts_what_is_left_out) {
  constexpr object_id region{5, 7, 0};
  constexpr object_id implicit{5, 8, 0};
  write_run({recorded()
                 .domain(1, "openmp")
                 .string_handle(3, "graph")
                 .string_handle(4, "omp_parallel")
                 .string_handle(5, "omp_implicit")
                 .string_handle(6, "composite_node")
                 .task_group(1, graph, {}, 3)
                 .task_group(1, region, {}, 4)
                 .task_group(1, {5, 1, 0}, graph, 6)
                 .task_group(1, implicit, region, 5)
                 .relation(1, {6, 2, 0}, kzr::relation_code::is_child_of, implicit)
                 .task_group(1, {6, 1, 0}, implicit, 9)
                 .task_group(1, {8, 7, 0}, region, 4)
                 .task_group(1, {8, 1, 0}, implicit, 6)
                 .end()
                 .take()});
  const json outermost =
      json::parse(R"({"message": "Parallel region without a region around it.", "count": 1})");
  const json inside =
      json::parse(R"({"message": "Inside of an OpenMP region, shown with --omp_experimental.", "count": 3})");
  for (const auto& [options, notes] :
       {std::pair(strings{}, json{inside, outermost}), {{"--omp_experimental"}, json{outermost}}}) {
    const json run = summary(options);
    EXPECT_EQ(run["problems"], json::array());
    EXPECT_EQ(run["warnings"], json::array());
    EXPECT_EQ(run["notes"], notes);
  }
}

TEST_F(kzr_dump, counts_texts_that_the_documents_hold_unescaped) {
  auto file = recorded();
  for (const char* const text : {"plain", "a<b", "\"", "&amp;", "\x1b", "two\nlines", "carriage\r"}) {
    file.string_handle(3, text).metadata_string(1, node, 3, text);
  }
  write_run({file.end().take()});
  EXPECT_EQ(summary()["texts_with_markup"], 12);
  EXPECT_EQ(summary()["texts_with_line_break"], 4);
}

TEST_F(kzr_dump, explains_why_there_is_no_run) {
  write_run({whole()});
  write_file(directory_ / "notes.txt", "notes");
  fs::create_directory(directory_ / "empty");
  const std::string a_run =
      "a run is a directory with the files _kzr.0, _kzr.1, ..., or the path of such files without point and "
      "number";
  const std::pair<const char*, std::string> cases[] = {
      {"nowhere", "there is neither a directory nowhere nor a trace file nowhere.0; " + a_run},
      {"empty", "there is no trace file empty/_kzr.0; " + a_run},
      {"notes.txt", "notes.txt is no run; " + a_run},
      {"run/_kzr.0", "run/_kzr.0 is one file of a run; the run is called run/_kzr, without point and number"},
      {"\x1b[2J", "there is neither a directory \\x1b[2J nor a trace file \\x1b[2J.0; " + a_run}};
  for (const auto& [run, reason] : cases) {
    SCOPED_TRACE(run);
    const program_result text = dump({run});
    EXPECT_EQ(text.exit_status, 1);
    EXPECT_NE(text.out.find(": 1 problem\n  " + reason + '\n'), std::string::npos) << text.out;
    EXPECT_EQ(dump({"--records", run}).err, "kzr: " + reason + '\n');
  }
}

/// "producer:kind" of every record that was listed.
strings listed(const std::string& out) {
  strings records;
  static const std::regex line("(\\d+): (\\w+)\n");
  for (std::sregex_iterator match(out.begin(), out.end(), line), last; match != last; ++match) {
    records.push_back((*match)[1].str() + ':' + (*match)[2].str());
  }
  return records;
}

TEST_F(kzr_dump, lists_the_records_that_the_filters_let_through) {
  write_run({whole(), late(4)});
  struct {
    strings arguments;
    strings records;
  } const cases[] = {
      {{"--kind", "task_begin"}, {"0:task_begin", "0:task_begin"}},
      {{"--kind", "13", "--kind", "id_create"}, {"1:id_create", "0:task_end"}},
      {{"--kind", "17"}, {"1:end_of_records", "0:end_of_records"}},
      {{"--producer", "1"}, {"1:id_create", "1:end_of_records"}},
      {{"--from", "7"}, {"0:task_end", "0:task_begin", "0:end_of_records"}},
      {{"--from", "2", "--to", "03", "--producer", "0"}, {"0:domain_createA", "0:string_handle_createA"}},
      {{"--to", "3", "--producer", "1"}, {}},
  };
  for (const auto& [arguments, records] : cases) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    strings all = {"--records"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    all.push_back("run");
    const program_result result = dump(all);
    EXPECT_EQ(listed(result.out), records);
    EXPECT_EQ(result.exit_status, 0) << result.err;
  }
  EXPECT_EQ(listed(dump({"--records", "run"}).out).size(), 11U);
  for (const strings& damaged : {strings{whole(), ""},
                                 {whole(), "-", ""},
                                 {small().take()},
                                 {xml(header, task_end)},
                                 {whole(), xml("v=\"0\"", "")},
                                 {"<traces/>"}}) {
    SCOPED_TRACE(testing::PrintToString(damaged));
    write_run(damaged);
    EXPECT_EQ(dump({"--records", "run"}).exit_status, 1);
  }
}

TEST_F(kzr_dump, shows_the_fields_of_a_record_by_name_with_all_its_bytes) {
  const std::string large(100'000, 'x');
  const auto record = [&large](trace_form form) {
    return recorded(form)
        .metadata_string(7, node, 9, large)  // what follows is far behind the first bytes that are read
        .metadata(7, node, 9, kzr::value_type::u32, 1, 258)
        .string_handle(9, "\x1b[2J\n0: fake\xe2\x80\xae")
        .relation(7, node, kzr::relation_code::makes_edge_to, graph)
        .take();
  };
  const std::string fields[] = {
      "   f[0] kind = 6\n   f[1] timestamp = 2\n   f[2] domain = 7\n   id[0] object = (2, 0, 0)\n"
      "   f[4] key = 9\n   f[5] type = 3\n   f[6] count = 1\n   value = 258\n",
      "   f[0] kind = 10\n   f[1] timestamp = 3\n   f[2] handle = 9\n   f[3] length = 15\n"
      "   text = \"\\x1b[2J\\x0a0: fake\\xe2\\x80\\xae\"\n",
      "   f[0] kind = 9\n   f[1] timestamp = 4\n   f[2] domain = 7\n   id[0] head = (2, 0, 0)\n"
      "   f[4] relation = 7\n   id[1] tail = (1, 0, 0)\n"};
  const std::string no_id = " 00 00 00 00 00 00 00";
  const std::string number = "07" + no_id;
  const std::string words = " 02" + no_id + " 00" + no_id + " 00" + no_id;
  const std::string bytes[] = {"   raw bytes from 100074: 06 02" + no_id + " " + number + words + " 09" +
                                   no_id + " 03 01" + no_id + " 02 01 00 00\n",
                               "   raw bytes from 100136: 0a 03" + no_id + " 09" + no_id +
                                   " 0f 1b 5b 32 4a 0a 30 3a 20 66 61 6b 65 e2 80 ae\n",
                               "   raw bytes from 100169: 09 04" + no_id + " " + number + words + " 07 01" +
                                   no_id + " 00" + no_id + " 00" + no_id + "\n"};
  const char* const names[] = {"1: metadata\n", "1: string_handle_createA\n", "1: relation\n"};
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    write_run({whole(), record(form)});
    const std::string out = dump({"--records", "--producer", "1", "run"}).out;
    for (std::size_t i = 0; i < std::size(fields); ++i) {
      const std::string expected = names[i] + (form == trace_form::binary ? bytes[i] : "") + fields[i];
      EXPECT_NE(out.find(expected), std::string::npos) << expected << out.substr(out.size() - 2000);
    }
  }
}

TEST_F(kzr_dump, refuses_wrong_usage) {
  write_run({whole()});
  for (const strings& arguments : {strings{"--bogus"},
                                   {"a", "b"},
                                   {"--kind", "task_end"},
                                   {"--records", "--json"},
                                   {"--records", "--kind", "18"},
                                   {"--records", "--kind", "task"},
                                   {"--records", "--from", "-1"},
                                   {"--records", "--to", "18446744073709551616"},
                                   {"--records", "--producer", "1x"},
                                   {"--records", "--producer", "1", "run"},
                                   {"--records", "--from", "2", "--to", "1"}}) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    const program_result result = dump(arguments);
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
  }
}

TEST_F(kzr_dump, finds_the_stem_as_the_converter_does) {
  write_run({whole()});
  EXPECT_EQ(dump({}).exit_status, 1);
  for (const char* const run : {"run", "run/", "run/_kzr"}) {
    const program_result result = dump({run});
    EXPECT_EQ(result.exit_status, 0) << run;
    EXPECT_EQ(result.out.substr(0, 16), "run/_kzr: sound\n");
  }
  EXPECT_EQ(dump({}, {"QZD_DIR=run"}).exit_status, 0);
  fs::rename(directory_ / "run", directory_ / "_qzd_20240101_120000");
  EXPECT_EQ(dump({}).exit_status, 0);
  // What kzr writes under the name of the run is none, though the converter takes it for one.
  write_file(directory_ / "_qzd_20240101_120000.html", "page");
  write_file(directory_ / "_qzd_20240101_120000.csv.d/run.csv", "name");
  EXPECT_EQ(dump({}).out.substr(0, 31), "_qzd_20240101_120000/_kzr: soun");
  // A run may be called like a subcommand.
  fs::rename(directory_ / "_qzd_20240101_120000", directory_ / "help");
  EXPECT_EQ(dump({"help"}).exit_status, 0);
  EXPECT_EQ(dump({}).out.substr(0, 48), "_kzr: 1 problem\n  there is no trace file _kzr.0;");
  write_file(directory_ / "_kzr.0", whole());
  EXPECT_EQ(dump({}).out.substr(0, 12), "_kzr: sound\n");
}

TEST_F(kzr_dump, writes_no_file_and_no_byte_that_steers_a_terminal) {
  write_run(
      {recorded().domain(1, "\x1b[2J\xff\xc2\x9b\xc3\xa9").end().take(), xml("version=\"1\x1b[31m\"", "")});
  const strings environment = {"QZD_DIR=run"};
  const std::string text = dump({}, environment).out;
  EXPECT_EQ(text.find('\x1b'), std::string::npos);
  EXPECT_NE(text.find("\\x1b[2J\\xff\\xc2\\x9b\xc3\xa9 "), std::string::npos) << text;
  EXPECT_NE(text.find("version 1\\x1b[31m"), std::string::npos) << text;
  EXPECT_EQ(summary()["domains"][0]["name"], "\x1b[2J\xef\xbf\xbd\xc2\x9b\xc3\xa9");
  static_cast<void>(dump({"--records"}, environment));
  std::size_t files = 0;
  for (const auto& entry : fs::recursive_directory_iterator(directory_.path()))
    files += entry.is_regular_file();
  EXPECT_EQ(files, 2U);
}

TEST_F(kzr_dump, fails_when_its_output_is_lost) {
  write_run({whole()});
  for (const std::string options : {"", "--json", "--records"}) {
    SCOPED_TRACE(options);
    const program_result result =
        run_program({"/bin/sh", "-c", KZR_PROGRAM " dump run " + options + " >/dev/full"}, directory_.path());
    EXPECT_EQ(result.exit_status, 2);
    EXPECT_EQ(result.err, "kzr: the output could not be written\n");
  }
}

}  // namespace
