#include "reader/read_ahead.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

// Whenever it starts: every record once and in order, and each shown before it is handed out.
TEST(read_ahead, shows_records_that_come_next) {
  constexpr std::size_t steps = read_ahead::steps;
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, steps - 1, steps, 3 * steps + 1}) {
    for (std::size_t start = 0; start <= count + 1; ++start) {
      SCOPED_TRACE(std::to_string(count) + " records, started at " + std::to_string(start));
      kzr::trace_encoder file = recorded();
      for (std::size_t i = 0; i < count; ++i) file.at(i).task_end(7);
      const scratch_directory directory;
      write_file(directory / "_kzr.0", file.at(count).end().take());
      multifile_reader reader((directory / "_kzr").c_str());
      read_ahead records(reader);
      for (std::size_t next = 0; next <= count; ++next) {
        if (next == start) records.start();
        for (std::size_t skipped = 0; skipped < steps; ++skipped) {
          const trace_record* const upcoming = records.upcoming(skipped);
          ASSERT_EQ(upcoming != nullptr, next >= start && next + skipped < count);
          if (upcoming != nullptr) {
            EXPECT_EQ(upcoming->f[1], next + skipped);
          }
        }
        const auto record = records.next_record();
        ASSERT_EQ(record != nullptr, next < count);
        if (record) {
          EXPECT_EQ(record->f[1], next);
        }
      }
      EXPECT_EQ(records.next_record(), nullptr);
    }
  }
}

// A failure of the reader is that of its record: those before it are handed out first.
TEST(read_ahead, throws_what_the_reader_threw_in_its_place) {
  const std::string end = "<record><k>task_end</k><t>1</t><f>7</f></record>";
  const std::string no_number =
      "<record><k>metadata</k><t>1</t><f>7</f><i><w>1</w><w>2</w><w>3</w></i><f>9</f><data>x</data>"
      "<data>1</data><v>42</v></record>";
  const scratch_directory directory;
  write_file(directory / "_kzr.0", "<trace version=\"0\" ts_frequency=\"1\" hardware_concurrency=\"1\">" +
                                       end + end + end + no_number + end + "</trace>");
  multifile_reader reader((directory / "_kzr").c_str());
  read_ahead records(reader);
  records.start();
  // The record before the failure is lost with it: the XML reader makes the next one as it hands one out.
  EXPECT_NE(records.next_record(), nullptr);
  EXPECT_NE(records.next_record(), nullptr);
  EXPECT_EQ(records.upcoming(0), nullptr);
  EXPECT_THROW(records.next_record(), std::invalid_argument);
}

}  // namespace
