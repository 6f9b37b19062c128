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

/// The records of one file as text, one a line: kind, time, fields, identifiers, text or value.
std::vector<std::string> read_back(const std::string& bytes) {
  const scratch_directory scratch;
  write_file(scratch / "_kzr.0", bytes);
  record_store store;
  const auto reader = trace_reader::create_reader(scratch / "_kzr", 0, store);
  std::vector<std::string> lines = {reader->freq() + " " + reader->hwc()};
  while (const auto record = reader->current_and_advance()) {
    std::string line = std::to_string(record->kind);
    for (std::size_t slot = 1; slot < record->f.size(); ++slot) line += " " + std::to_string(record->f[slot]);
    for (const ___onx_id& id : record->id) {
      line += " (" + std::to_string(id.d1) + " " + std::to_string(id.d2) + " " + std::to_string(id.d3) + ")";
    }
    const bool is_wide = record->kind == 3 || record->kind == 8 || record->kind == 11;
    if (record->string == nullptr) {
      line += " -";
    } else if (record->kind == 6) {
      line += " " + std::to_string(record->value());
    } else if (is_wide) {
      line += std::string(" L") + static_cast<char>(record->wide_string()[0]);
    } else {
      line += std::string(" '") + record->narrow_string() + "'";
    }
    lines.push_back(line);
  }
  return lines;
}

TEST(trace_encoder, writes_every_kind_of_record_as_the_reader_takes_it) {
  const std::vector<std::string> expected = {
      "1000 4",
      "0 100 1 3 0 2 3 (0 0 0) (0 0 0) 'def'",
      "1 101 2 0 0 0 0 (0 0 0) (0 0 0) 'v1'",
      "2 102 7 8 0 0 0 (0 0 0) (0 0 0) 'pwl.flow'",
      "3 103 8 4 0 0 0 (0 0 0) (0 0 0) Lw",
      "4 104 7 0 0 0 0 (1 2 3) (0 0 0) -",
      "5 105 7 0 0 0 0 (18446744073709551615 5 6) (0 0 0) -",
      "6 106 7 0 9 1 1 (1 2 3) (0 0 0) 72623859790382856",
      "6 107 7 0 9 3 1 (1 2 3) (0 0 0) 4294967295",
      "6 108 7 0 9 1 2 (1 2 3) (0 0 0) -",
      "7 109 7 0 10 300 0 (18446744073709551615 5 6) (0 0 0) '" + std::string(300, 'x') + "'",
      "8 110 7 0 10 2 0 (18446744073709551615 5 6) (0 0 0) Ly",
      "9 111 7 0 7 0 0 (1 2 3) (18446744073709551615 5 6) -",
      "10 112 11 6 0 0 0 (0 0 0) (0 0 0) ' text '",
      "10 113 12 0 0 0 0 (0 0 0) (0 0 0) ''",
      "11 114 13 1 0 0 0 (0 0 0) (0 0 0) Lw",
      "12 115 7 0 0 14 15 (1 2 3) (18446744073709551615 5 6) -",
      "13 116 7 0 0 0 0 (0 0 0) (0 0 0) -",
      "14 117 7 0 0 16 0 (1 2 3) (18446744073709551615 5 6) -",
      "15 118 7 0 0 17 0 (1 2 3) (18446744073709551615 5 6) -",
      "16 119 7 0 0 0 0 (18446744073709551615 5 6) (0 0 0) -",
      "17 120 0 0 0 0 0 (0 0 0) (0 0 0) -",
  };
  EXPECT_EQ(read_back(every_kind(trace_form::binary)), expected);
  EXPECT_EQ(read_back(every_kind(trace_form::xml)), expected);
}

TEST(trace_encoder, cuts_a_name_whose_length_does_not_fit_its_byte) {
  for (const trace_form form : {trace_form::binary, trace_form::xml}) {
    const auto lines = read_back(recorded(form).string_handle(1, std::string(256, 'n')).end().bytes());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[1], "10 1 1 255 0 0 0 (0 0 0) (0 0 0) '" + std::string(255, 'n') + "'");
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
      for (int number = 0; number < 8;
           ++number) {  // complete before the recorder goes, as the threads are gone
        record_store store;
        const auto reader = trace_reader::create_reader(stem, number, store);
        ASSERT_NE(reader, nullptr);
        std::int32_t last_kind = -1;
        while (const auto record = reader->current_and_advance()) last_kind = record->kind;
        EXPECT_EQ(last_kind, trace_record::end_of_records) << "file " << number;
      }
      EXPECT_FALSE(std::filesystem::exists(stem + ".8"));
    }
    multifile_reader reader(stem.c_str());
    std::set<std::uint64_t> defined;
    std::map<int, std::uint64_t> begins;
    std::size_t ends = 0;
    while (const auto record = reader.next_record()) {
      if (record->kind == 2 || record->kind == 10) {
        EXPECT_TRUE(defined.insert(record->f[2]).second) << "defined twice";
      } else if (record->kind == 12) {
        ASSERT_TRUE(defined.count(record->f[2]) == 1 && defined.count(record->f[5]) == 1)
            << "used before defined";
        ASSERT_EQ(record->id[0].d2, begins[record->producer]++);
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
