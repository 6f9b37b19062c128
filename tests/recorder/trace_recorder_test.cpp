#include "recorder/trace_recorder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "reader/multifile_reader.h"
#include "reader/trace_reader.h"
#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;
using kzr::trace_form;
using kzr::value_type;

constexpr object_id first = {1, 2, 3};
constexpr object_id second = {0xffffffffffffffff, 5, 6};

/// One record of every kind, every byte of its fields told apart.
std::string every_kind(trace_form form) {
  return recorded(form)
      .at(100)
      .definition(1, "def", 2, 3)
      .api_version("v1")
      .domain(7, "pwl.flow")
      .wide_domain(8, u"wide")
      .id_create(7, first)
      .id_destroy(7, second)
      .metadata(7, first, 9, value_type::u64, 1, 0x0102030405060708)
      .metadata(7, first, 9, value_type::u32, 1, 0xfffffffff)
      .metadata(7, first, 9, value_type::u64, 2, 5)
      .metadata_string(7, second, 10, std::string(300, 'x'))
      .wide_metadata_string(7, second, 10, u"yz")
      .relation(7, first, relation_code::makes_edge_to, second)
      .string_handle(11, " text ")
      .string_handle(12, "")
      .wide_string_handle(13, u"w")
      .task_begin(7, first, second, 14, 15)
      .task_end(7)
      .task_group(7, first, second, 16)
      .region_begin(7, first, second, 17)
      .region_end(7, second)
      .end()
      .take();
}

/// The field `name` of the record by its accessor; fields that only tools show, by position.
std::string field_text(const trace_record& record, std::string_view name) {
  using number = std::uint64_t (trace_record::*)() const;
  static const std::map<std::string_view, number> numbers = {
      {"domain", &trace_record::domain}, {"handle", &trace_record::handle},
      {"name", &trace_record::name},     {"processor", &trace_record::processor},
      {"key", &trace_record::key},       {"type", &trace_record::type},
      {"count", &trace_record::count},   {"relation", &trace_record::relation}};
  using id = const ___onx_id& (trace_record::*)() const;
  static const std::map<std::string_view, id> ids = {{"object", &trace_record::object},
                                                     {"parent", &trace_record::parent},
                                                     {"head", &trace_record::head},
                                                     {"tail", &trace_record::tail}};
  if (const auto found = numbers.find(name); found != numbers.end()) {
    return std::to_string((record.*found->second)());
  }
  if (const auto found = ids.find(name); found != ids.end()) {
    const ___onx_id& value = (record.*found->second)();
    return std::to_string(value.d1) + '/' + std::to_string(value.d2) + '/' + std::to_string(value.d3);
  }
  return std::to_string(record.f[field_position(record.kind, name) + 2]);
}

/// The records of one file as text, one a line: kind, time, fields by name, text or value. Of wide texts, of
/// which the binary form keeps no more, the first character.
std::vector<std::string> read_back(const std::string& bytes) {
  const scratch_directory scratch;
  write_file(scratch / "_kzr.0", bytes);
  text_arena texts;
  const auto reader = trace_reader::create_reader(scratch / "_kzr", 0, texts);
  std::vector<std::string> lines = {reader->freq() + " " + reader->hwc()};
  trace_record record;
  while (reader->current_and_advance(record)) {
    std::string line = std::string(describe(record.kind).name) + " " + std::to_string(record.timestamp());
    bool is_wide = false;
    for (const record_field& field : describe(record.kind).fields) {
      if (field.code == field_code::end) break;
      is_wide |= field.code == field_code::wide_string;
      if (field.code == field_code::wide_string || field.code == field_code::narrow_string) continue;
      line += std::string(" ") + field.name + " " + field_text(record, field.name);
    }
    if (record.string == nullptr) {
      line += " -";
    } else if (record.kind == record_kind::metadata) {
      line += " " + std::to_string(record.value());
    } else if (is_wide) {
      line += std::string(" L") + static_cast<char>(record.wide_string()[0]);
    } else {
      line += std::string(" '") + record.narrow_string() + "'";
    }
    lines.push_back(line);
  }
  return lines;
}

TEST(trace_encoder, writes_every_kind_of_record_as_the_reader_takes_it) {
  const std::vector<std::string> expected = {
      "1000 4",
      "definition 100 first 1 length 3 second 2 third 3 'def'",
      "api_version 101 length 2 'v1'",
      "domain_createA 102 handle 7 length 8 'pwl.flow'",
      "domain_createW 103 handle 8 length 4 Lw",
      "id_create 104 domain 7 object 1/2/3 -",
      "id_destroy 105 domain 7 object 18446744073709551615/5/6 -",
      "metadata 106 domain 7 object 1/2/3 key 9 type 1 count 1 72623859790382856",
      "metadata 107 domain 7 object 1/2/3 key 9 type 3 count 1 4294967295",
      "metadata 108 domain 7 object 1/2/3 key 9 type 1 count 2 -",
      "metadata_stringA 109 domain 7 object 18446744073709551615/5/6 key 10 length 300 '" +
          std::string(300, 'x') + "'",
      "metadata_stringW 110 domain 7 object 18446744073709551615/5/6 key 10 length 2 Ly",
      "relation 111 domain 7 head 1/2/3 relation 7 tail 18446744073709551615/5/6 -",
      "string_handle_createA 112 handle 11 length 6 ' text '",
      "string_handle_createA 113 handle 12 length 0 ''",
      "string_handle_createW 114 handle 13 length 1 Lw",
      "task_begin 115 domain 7 object 1/2/3 parent 18446744073709551615/5/6 name 14 processor 15 -",
      "task_end 116 domain 7 -",
      "task_group 117 domain 7 object 1/2/3 parent 18446744073709551615/5/6 name 16 -",
      "region_begin 118 domain 7 object 1/2/3 parent 18446744073709551615/5/6 name 17 -",
      "region_end 119 domain 7 object 18446744073709551615/5/6 -",
      "end_of_records 120 -",
  };
  EXPECT_EQ(read_back(every_kind(trace_form::binary)), expected);
  EXPECT_EQ(read_back(every_kind(trace_form::xml)), expected);
}

TEST(trace_encoder, cuts_a_name_whose_length_does_not_fit_its_byte) {
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    const auto lines = read_back(recorded(form).string_handle(1, std::string(256, 'n')).end().bytes());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], "string_handle_createA 1 handle 1 length 255 '" + std::string(255, 'n') + "'");
  }
}

/// Eight threads ask for the same texts and use them at once; enough records to fill several blocks.
void record_from_threads(kzr::trace_recorder& recorder) {
  std::vector<std::thread> threads;
  for (std::uint64_t number = 0; number < 8; ++number) {
    threads.emplace_back([&recorder, number] {
      const std::uint64_t domain = recorder.domain("pwl.flow");
      for (std::uint64_t task = 0; task < 2000; ++task) {
        const std::uint64_t name = recorder.text("task " + std::to_string(task / 100));
        recorder.begin_task(domain, {number, task, 0}, {}, name);
        recorder.end_task(domain);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(trace_recorder, keeps_every_record_of_every_thread_and_defines_before_use) {
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    const scratch_directory scratch;
    std::string stem;
    {
      kzr::trace_recorder recorder(form, scratch.path());
      stem = recorder.directory() / "_kzr";
      record_from_threads(recorder);
      ASSERT_FALSE(recorder.failed());
      // Complete before the recorder goes, as the threads are gone.
      for (int number = 0; number < 8; ++number) {
        text_arena texts;
        const auto reader = trace_reader::create_reader(stem, number, texts);
        ASSERT_NE(reader, nullptr);
        trace_record record;
        record.kind = record_kind::bad_record;
        while (reader->current_and_advance(record)) ASSERT_NE(record.kind, record_kind::bad_record);
        EXPECT_EQ(record.kind, record_kind::end_of_records) << "file " << number;
      }
      EXPECT_FALSE(std::filesystem::exists(stem + ".8"));
    }
    multifile_reader reader(stem);
    std::set<std::uint64_t> defined;
    std::map<int, std::uint64_t> begins;
    std::size_t ends = 0;
    trace_record record;
    while (reader.next_record(record)) {
      if (record.kind == record_kind::domain_create_a || record.kind == record_kind::string_handle_create_a) {
        EXPECT_TRUE(defined.insert(record.handle()).second) << "defined twice";
      } else if (record.kind == record_kind::task_begin) {
        ASSERT_TRUE(defined.contains(record.domain()) && defined.contains(record.name()))
            << "used before defined";
        ASSERT_EQ(record.object().d2, begins[record.producer]++);
      } else {
        ++ends;
      }
    }
    EXPECT_EQ(defined.size(), 21u);
    EXPECT_EQ(begins.size(), 8u);
    for (const auto& [producer, count] : begins) EXPECT_EQ(count, 2000u) << "file " << producer;
    EXPECT_EQ(ends, 16000u);
  }
}

TEST(trace_recorder, gives_runs_of_the_same_second_directories_of_their_own) {
  const scratch_directory scratch;
  const kzr::trace_recorder one(trace_form::binary, scratch.path());
  const kzr::trace_recorder other(trace_form::binary, scratch.path());
  EXPECT_NE(one.directory(), other.directory());
  const std::string name = other.directory().filename();
  ASSERT_EQ(name.size(), 20u);
  EXPECT_EQ(name.find_first_not_of("0123456789", 5), 13u) << name;
}

}  // namespace
