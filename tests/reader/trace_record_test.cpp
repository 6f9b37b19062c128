#include "reader/trace_record.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace {

std::string dumped(const trace_record& record) {
  std::ostringstream text;
  std::streambuf* const standard = std::cout.rdbuf(text.rdbuf());
  record.dump();
  std::cout.rdbuf(standard);
  return text.str();
}

TEST(trace_record, dumps_a_fresh_record_as_an_end_record) {
  EXPECT_EQ(dumped(trace_record()),
            "-1: end_of_records\n"
            "   f[0] = 0\n   f[1] = 0\n   f[2] = 0\n   f[3] = 0\n   f[4] = 0\n   f[5] = 0\n   f[6] = 0\n"
            "   id[0] = (0, 0, 0 )\n   id[1] = (0, 0, 0 )\n"
            "   string = NULL\n");
}

// The count byte is printed first and the last captured byte is left out; both are meant.
TEST(trace_record, dumps_captured_bytes_in_front) {
  trace_record record;
  record.kind = record_kind::relation;
  record.producer = 12;
  record.f = {9, 18446744073709551615u, 7, 0, 5, 0, 0};
  record.id = {{{1, 2, 3}, {4, 5, 18446744073709551615u}}};
  record.string = "a text";
  record.raw_offset = 0xabc;
  record.raw[0] = 4;
  record.raw[1] = 0x09;
  record.raw[2] = 0xf0;
  record.raw[3] = 0x00;
  record.raw[4] = 0x77;
  EXPECT_EQ(dumped(record),
            "\nraw bytes abc : 49f00\n"
            "12: relation\n"
            "   f[0] = 9\n   f[1] = 18446744073709551615\n   f[2] = 7\n   f[3] = 0\n   f[4] = 5\n"
            "   f[5] = 0\n   f[6] = 0\n"
            "   id[0] = (1, 2, 3 )\n   id[1] = (4, 5, 18446744073709551615 )\n"
            "   string = a text\n");
  for (const std::int32_t kind : {18, 255, -1}) {
    record.kind = static_cast<record_kind>(kind);
    EXPECT_EQ(dumped(record), "\nraw bytes abc : 49f00\n12:   **** ERROR: Unknown opcode\n") << kind;
  }
}

}  // namespace
