#include "recorder/trace_recorder.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "reader/multifile_reader.h"
#include "reader/trace_reader.h"
#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

using kzr::trace_form;
using kzr::value_type;

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
    std::size_t position = 0;
    const ___onx_id* id = record.id.data();
    for (const record_field& field : describe(record.kind).fields) {
      if (field.code == field_code::end) break;
      const std::uint64_t number = record.f.at(2 + position++);
      is_wide |= field.code == field_code::wide_string;
      if (field.code == field_code::wide_string || field.code == field_code::narrow_string) continue;
      line += std::string(" ") + field.name + " ";
      if (field.code == field_code::id) {
        line += std::to_string(id->d1) + '/' + std::to_string(id->d2) + '/' + std::to_string(id->d3);
        ++id;
      } else {
        line += std::to_string(number);
      }
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
      "domain_createA 1 handle 1 length 3 'pwl'",
      "domain_createW 2 handle 2 length 2 La",
      "definition 3 first 1 length 1 second 2 third 3 'd'",
      "api_version 4 length 2 'v1'",
      "string_handle_createA 5 handle 3 length 5 'graph'",
      "string_handle_createA 6 handle 4 length 10 'input_port'",
      "string_handle_createA 7 handle 5 length 11 'output_port'",
      "string_handle_createA 8 handle 7 length 12 'code_address'",
      "task_group 9 domain 1 object 1/2/3 parent 0/0/0 name 3 -",
      "task_group 10 domain 1 object 4/5/18446744073709551615 parent 1/2/3 name 9 -",
      "task_group 11 domain 1 object 4/1/0 parent 4/5/18446744073709551615 name 5 -",
      "task_group 12 domain 1 object 4/2/0 parent 4/5/18446744073709551615 name 4 -",
      "relation 13 domain 1 head 4/1/0 relation 7 tail 4/2/0 -",
      "metadata 14 domain 1 object 4/5/18446744073709551615 key 7 type 1 count 1 72623859790382856",
      "metadata_stringA 15 domain 1 object 9/0/0 key 8 length 5 'event'",
      "metadata_stringW 16 domain 1 object 4/5/18446744073709551615 key 8 length 1 Lw",
      "task_begin 17 domain 1 object 4/5/18446744073709551615 parent 1/2/3 name 5 processor 6 -",
      "region_begin 18 domain 1 object 4/5/18446744073709551615 parent 1/2/3 name 9 -",
      "relation 19 domain 1 head 3/0/0 relation 5 tail 4/5/18446744073709551615 -",
      "region_end 20 domain 1 object 4/5/18446744073709551615 -",
      "task_end 21 domain 1 -",
      "id_create 22 domain 1 object 4/5/18446744073709551615 -",
      "id_destroy 23 domain 1 object 4/5/18446744073709551615 -",
      "string_handle_createW 24 handle 10 length 1 Lz",
      "end_of_records 25 -",
  };
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    EXPECT_EQ(read_back(every_kind(form)), expected);
  }
}

TEST(trace_encoder, writes_texts_and_values_of_every_length) {
  const std::string name(255, 'n');
  const std::string text(300, 't');
  const std::vector<std::string> expected = {
      "1000 4",
      "metadata 5 domain 7 object 1/2/3 key 9 type 3 count 1 4294967295",
      "metadata 6 domain 7 object 1/2/3 key 9 type 1 count 2 -",
      "metadata_stringA 7 domain 7 object 1/2/3 key 9 length 300 '" + text + "'",
      "string_handle_createA 8 handle 11 length 6 ' text '",
      "string_handle_createA 9 handle 12 length 0 ''",
      "string_handle_createA 10 handle 13 length 255 '" + name + "'",  // which is what one byte can tell
      "end_of_records 11 -",
  };
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    kzr::trace_encoder file = recorded(form);
    file.at(5).metadata(7, {1, 2, 3}, 9, value_type::u32, 1, 0xfffffffff);
    file.metadata(7, {1, 2, 3}, 9, value_type::u64, 2, 5).metadata_string(7, {1, 2, 3}, 9, text);
    file.string_handle(11, " text ").string_handle(12, "").string_handle(13, name + "n");
    EXPECT_EQ(read_back(file.end().bytes()), expected);
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
  std::set<std::string> names;
  for (int run = 0; run < 3; ++run) {  // at least two of them in one second
    names.insert(kzr::trace_recorder(trace_form::binary, scratch.path()).directory().filename());
  }
  EXPECT_EQ(names.size(), 3u);
  for (const std::string& name : names) {
    ASSERT_EQ(name.size(), 20u);
    EXPECT_EQ(name.find_first_not_of("0123456789", 5), 13u) << name;
  }
}

}  // namespace
