#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <stdexcept>

#include "graphml/graphml_file.h"
#include "processor/kzr_record_processor.h"
#include "reader/multifile_reader.h"
#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

using kzr::object_id;
using kzr::relation_code;

/// A small run with a record of every kind but the wide string handle, which ends the program.
std::string sample() {
  constexpr object_id graph{1, 0, 0};
  constexpr object_id node{2, 0, 0};
  constexpr object_id output{2, 1, 0};
  constexpr object_id input{2, 2, 0};
  return recorded()
      .domain(1, "pwl")
      .wide_domain(2, u"p")
      .definition(1, "d", 1, 1)
      .api_version("v")
      .string_handle(3, "graph")
      .string_handle(4, "input_port")
      .string_handle(5, "output_port")
      .string_handle(7, "code_address")
      .task_group(1, graph, {}, 3)
      .task_group(1, node, graph, 9)
      .task_group(1, output, node, 5)
      .task_group(1, input, node, 4)
      .relation(1, output, relation_code::makes_edge_to, input)
      .metadata(1, node, 7, kzr::value_type::u64, 1, 5)
      .metadata_string(1, {4, 0, 0}, 8, "event")
      .wide_metadata_string(1, node, 8, u"w")
      .task_begin(1, node, graph, 5, 1)
      .region_begin(1, node, graph, 9)
      .relation(1, {3, 0, 0}, relation_code::is_child_of, node)
      .region_end(1, node)
      .task_end(1)
      .id_create(1, node)
      .id_destroy(1, node)
      .end()
      .take();
}

/// Converts `bytes` up to the point where the program would end itself; the outputs go nowhere. Returns the
/// number of records that were used.
int convert_damaged(const std::string& stem, const std::string& bytes) {
  write_file(stem + ".0", bytes);
  multifile_reader reader(stem);
  kzr_record_processor processor("no such directory/run", reader.frequency(), reader.concurrency(), 0);
  int records = 0;
  trace_record record;
  for (; reader.next_record(record); ++records) {
    if (record.kind == record_kind::string_handle_create_w) return records;
    processor.process_record(record);
  }
  kzr_data_manager& dm = processor.data_manager();
  for (std::size_t i = 0; i < dm.files().size(); ++i) dm.files()[i]->post_process(&dm);
  try {
    processor.dump_trace();
  } catch (const std::logic_error& failure) {
    EXPECT_STREQ(failure.what(), "stoi");
  }
  std::ostringstream document;
  for (const auto& file : dm.files()) file->dump_as_graphml(dm, document);
  return records;
}

/// Silences the messages about tasks that are left open.
class damaged_trace : public testing::Test {
 protected:
  ~damaged_trace() override { std::cerr.rdbuf(standard_); }

  scratch_directory directory_;
  const std::string stem_ = directory_ / "_kzr";

 private:
  std::ostringstream messages_;
  std::streambuf* standard_ = std::cerr.rdbuf(messages_.rdbuf());
};

TEST_F(damaged_trace, converts_every_prefix) {
  const std::string whole = sample();
  int most = 0;
  for (std::size_t kept = 0; kept <= whole.size(); ++kept) {
    SCOPED_TRACE(kept);
    const int records = convert_damaged(stem_, whole.substr(0, kept));
    ASSERT_GE(records, most);
    most = records;
  }
  EXPECT_EQ(most, 23);
}

// Each byte with its lowest, its highest and all bits turned, and with numbers that mean a kind of record.
TEST_F(damaged_trace, converts_with_any_byte_changed) {
  const std::string whole = sample();
  for (std::size_t at = 0; at < whole.size(); ++at) {
    SCOPED_TRACE(at);
    const auto old = static_cast<unsigned char>(whole[at]);
    for (const std::size_t value :
         {old ^ std::size_t{1}, old ^ std::size_t{128}, old ^ std::size_t{255}, at % 19, (at + 7) % 19}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(value);
      if (bytes[0] != '<') convert_damaged(stem_, bytes);  // that would be another format
    }
  }
}

}  // namespace
