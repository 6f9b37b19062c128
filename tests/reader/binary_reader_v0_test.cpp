#include "reader/binary_reader_v0.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

constexpr std::size_t header_bytes = 17;

std::string little_endian(std::uint64_t number) {
  std::string bytes;
  for (int i = 0; i < 8; ++i, number >>= 8) bytes += static_cast<char>(number & 0xff);
  return bytes;
}

class binary_reader_test : public testing::Test {
 protected:
  std::unique_ptr<trace_reader> open(const std::string& bytes) {
    write_file(directory_ / "_kzr.5", bytes);
    return trace_reader::create_reader(directory_ / "_kzr", 5, texts_);
  }
  /// All records of a file, up to the end record or the first bad one, read into one object after another.
  std::vector<trace_record> records(const std::string& bytes) {
    std::vector<trace_record> all;
    const auto reader = open(bytes);
    trace_record record;
    while (record.kind != record_kind::bad_record && reader->current_and_advance(record)) {
      all.push_back(record);
    }
    return all;
  }
  trace_record first_record(const std::string& bytes) { return records(bytes).at(0); }

  scratch_directory directory_;
  text_arena texts_;
};

constexpr kzr::object_id first{1, 2, 3};
constexpr kzr::object_id second{4, 5, std::numeric_limits<std::uint64_t>::max()};

// Where each record of `every_kind` begins, and where the file ends.
constexpr std::size_t begins[] = {17,  38,  60,  74,  86,  109, 137, 166,  196,  269,  342,  415,  488,
                                  554, 620, 682, 741, 822, 895, 961, 1002, 1019, 1060, 1101, 1121, 1130};

TEST_F(binary_reader_test, tells_the_position_of_each_record) {
  const std::vector<trace_record> read = records(every_kind(kzr::trace_form::binary));
  ASSERT_EQ(read.size() + 1, std::size(begins));
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(read[i].producer, 5);
    EXPECT_EQ(read[i].offset, begins[i]) << i;
  }
}

TEST_F(binary_reader_test, reports_a_cut_at_every_byte_as_incomplete) {
  const std::string run = every_kind(kzr::trace_form::binary);
  ASSERT_EQ(run.size(), *std::rbegin(begins));
  std::size_t complete = 0;
  for (std::size_t kept = header_bytes; kept < run.size(); ++kept) {
    SCOPED_TRACE(kept);
    if (kept == begins[complete + 1]) ++complete;
    const std::vector<trace_record> read = records(run.substr(0, kept));
    ASSERT_EQ(read.size(), complete + 1);
    ASSERT_EQ(read.back().kind, record_kind::bad_record);
    ASSERT_STREQ(read.back().narrow_string(), "incomplete record");
    const bool has_time = kept >= begins[complete] + 9;
    ASSERT_TRUE(!has_time || read.back().timestamp() == complete + 1);
  }
}

TEST_F(binary_reader_test, keeps_what_it_read_of_a_cut_record) {
  const std::string run = recorded().task_begin(7, first, second, 11, 12).bytes();
  const trace_record record = first_record(run.substr(0, run.size() - 16));
  EXPECT_EQ(record.f, (std::array<std::uint64_t, 7>{12, 1, 7, 0, 0, 0, 0}));
  EXPECT_EQ(record.id[1], (___onx_id{4, 5, 18446744073709551615u}));
}

TEST_F(binary_reader_test, knows_no_kinds_from_18) {
  for (const int kind : {18, 19, 128, 255}) {
    SCOPED_TRACE(kind);
    const std::string start = recorded().bytes() + static_cast<char>(kind);
    EXPECT_STREQ(first_record(start + "1234567").narrow_string(), "incomplete record");
    const auto reader = open(start + little_endian(77) + '\x11' + little_endian(78));
    EXPECT_EQ(reader->timestamp(), 77u);
    trace_record record;
    ASSERT_TRUE(reader->current_and_advance(record));
    EXPECT_EQ(record.kind, record_kind::bad_record);
    EXPECT_STREQ(record.narrow_string(), "unknown record");
    EXPECT_EQ(record.timestamp(), 77u);
    ASSERT_TRUE(reader->current_and_advance(record));  // it reads on behind the damage
    EXPECT_EQ(record.timestamp(), 78u);
    EXPECT_FALSE(reader->current_and_advance(record));
    EXPECT_FALSE(reader->has_current());
  }
}

TEST_F(binary_reader_test, takes_no_memory_for_a_length_that_is_only_claimed) {
  constexpr std::uint32_t claimed = 0xffffffff;
  for (std::string run : {recorded().metadata_string(7, first, 9, "").take(),
                          recorded().wide_metadata_string(7, first, 9, u"").take()}) {
    run.resize(run.size() - 8);
    // What arrived is there, but the reason takes its place in the record.
    EXPECT_STREQ(first_record(run + little_endian(claimed) + "abc").narrow_string(), "incomplete record");
  }
  EXPECT_LT(texts_.taken_bytes(), claimed);
}

TEST_F(binary_reader_test, reads_texts_by_the_low_half_of_their_length) {
  std::string run = recorded().metadata_string(7, first, 9, "").bytes();
  run.resize(run.size() - 8);
  EXPECT_STREQ(first_record(run + little_endian(0x100000002) + "ab" + "\x11").narrow_string(), "ab");
  const std::string large(300'000, 'x');
  EXPECT_EQ(first_record(recorded().metadata_string(7, first, 9, large).end().bytes()).narrow_string(),
            large);
}

TEST_F(binary_reader_test, ends_wide_texts_at_their_first_zero_byte_or_at_their_length) {
  const std::pair<const char16_t*, const wchar_t*> cases[] = {
      {u"", L""}, {u"abc", L"a"}, {u"\x6261", L"a"}, {u"\x6261\x6463", L"ab"}, {u"\x6261\x0063zz", L"abc"}};
  for (const auto& [text, expected] : cases) {
    const std::vector<trace_record> read = records(recorded().wide_domain(7, text).task_end(7).bytes());
    ASSERT_EQ(read.size(), 3u);
    EXPECT_STREQ(read[0].wide_string(), expected);
    EXPECT_EQ(read[1].domain(), 7u);
  }
}

TEST_F(binary_reader_test, reads_one_metadata_value_of_a_known_type) {
  struct {
    int type;
    std::uint64_t count;
    std::optional<std::uint64_t> value;
  } const cases[] = {{1, 1, 0xfedcba9876543210},
                     {3, 1, 0x76543210},
                     {1, 0, {}},
                     {1, 2, {}},
                     {3, 256, {}},
                     {0, 1, {}},
                     {2, 1, {}},
                     {4, 1, {}},
                     {9, 1, {}}};
  for (const auto& [type, count, value] : cases) {
    SCOPED_TRACE(testing::Message() << "type " << type << " count " << count);
    const std::vector<trace_record> read =
        records(recorded()
                    .metadata(7, first, 9, static_cast<kzr::value_type>(type), count, 0xfedcba9876543210)
                    .task_end(7)
                    .end()
                    .bytes());
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read[1].kind, record_kind::task_end);  // the value, and nothing more, was read
    ASSERT_EQ(read[0].string != nullptr, value.has_value());
    EXPECT_EQ(value ? read[0].value() : 0, value.value_or(0));
  }
}

TEST_F(binary_reader_test, is_chosen_by_the_first_byte) {
  const std::string numbers = little_endian(18446744073709551615u) + little_endian(12);
  trace_record record;
  EXPECT_EQ(trace_reader::create_reader(directory_ / "_kzr", 6, texts_), nullptr);
  for (const std::string& bytes : {std::string(), std::string("Z"), std::string("B") + numbers,
                                   std::string("a12345"), std::string("A12345678"), std::string("\0A", 2)}) {
    const auto reader = open(bytes);
    ASSERT_NE(reader, nullptr) << bytes;
    EXPECT_TRUE(reader->done()) << bytes;
    EXPECT_FALSE(reader->current_and_advance(record)) << bytes;
    EXPECT_EQ(reader->freq() + reader->hwc(), "") << bytes;
  }
  for (const char mark : {'A', 'a'}) {
    const auto reader = open(mark + numbers);
    EXPECT_FALSE(reader->done());
    EXPECT_EQ(reader->freq(), "18446744073709551615");
    EXPECT_EQ(reader->hwc(), "12");
    ASSERT_TRUE(reader->current_and_advance(record));
    EXPECT_EQ(record.kind, record_kind::bad_record);
  }
}

}  // namespace
