#include "reader/xml_reader_v0.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

constexpr const char* header = "<trace version=\"0\" ts_frequency=\"1000\" hardware_concurrency=\"4\">";

class xml_reader_test : public testing::Test {
 protected:
  std::unique_ptr<trace_reader> opened(const std::string& characters) {
    write_file(directory_ / "_kzr.3", characters);
    return open_xml_trace(directory_ / "_kzr.3", 3, texts_);
  }
  /// A reader of records with these contents.
  std::unique_ptr<trace_reader> reading(std::initializer_list<std::string> contents) {
    std::string characters = header;
    for (const std::string& content : contents) characters += "<record>" + content + "</record>\n";
    return opened(characters + "</trace>\n");
  }
  trace_record read_one(const std::string& content) {
    trace_record record;
    EXPECT_TRUE(reading({content})->current_and_advance(record));
    return record;
  }

 private:
  scratch_directory directory_;
  text_arena texts_;
};
using xml_reader_death_test = xml_reader_test;

TEST_F(xml_reader_test, gives_the_reason_of_a_damaged_record_and_stays_there) {
  const std::string end = "<k>task_end</k>";
  const std::string id = "<k>id_create</k><t>5</t><f>7</f>";
  const std::pair<std::string, const char*> cases[] = {
      {"", "incomplete record"},
      {"<k></k><t>5</t><f>7</f>", "incomplete record"},
      {"<k>task_start</k><t>5</t><f>7</f>", "unknown record"},
      {"<k>task_end </k><t>5</t><f>7</f>", "unknown record"},
      {"<data> task_end</data><t>5</t><f>7</f>", "unknown record"},
      {end + "<t></t><f>7</f>", "incomplete record"},
      {end + "<t>5</t>", "incomplete record"},
      {end + "<t>5</t><f></f>", "incomplete record"},
      {id + "<i><w>1</w><w>2</w></i>", "incomplete record"},
      {id + "<i><w>1</w><w>2</w><w>3</w><w>4</w></i>", "incomplete record"},
      {id + "<i><w>1</w><w></w><w>3</w></i>", "incomplete record"},
      {"<k>domain_createW</k><t>5</t><f>7</f><f>0</f><f></f>", "incomplete record"},
      {"<k>domain_createA</k><t>5</t><f>7</f><f>0</f>", "incomplete record"}};
  for (const auto& [content, reason] : cases) {
    SCOPED_TRACE(content);
    const auto reader = reading({content, end + "<t>6</t><f>7</f>"});
    trace_record record;
    for (int i = 0; i < 2; ++i) {
      ASSERT_TRUE(reader->current_and_advance(record));
      ASSERT_EQ(record.kind, record_kind::bad_record);
      EXPECT_STREQ(record.narrow_string(), reason);
    }
  }
  trace_record record;
  ASSERT_TRUE(reading({})->current_and_advance(record));
  EXPECT_STREQ(record.narrow_string(), "incomplete record");
}

TEST_F(xml_reader_test, reads_leading_digits_of_numbers) {
  constexpr std::uint64_t largest = UINT64_MAX;
  const std::pair<std::string, std::uint64_t> cases[] = {{"300", 300},
                                                         {"007", 7},
                                                         {"12x", 12},
                                                         {"x12", 0},
                                                         {"-1", largest},
                                                         {"+8", 8},
                                                         {"0x10", 0},
                                                         {"18446744073709551615", largest},
                                                         {"18446744073709551616", largest}};
  for (const auto& [text, number] : cases) {
    SCOPED_TRACE(text);
    const std::string id = "<i><w>1</w><w>2</w><w>" + text + "</w></i>";
    const auto record = read_one("<k>task_begin</k><t>" + text + "</t><data>\n " + text +
                                 "</data><i><w>1</w><w>2</w><w>3</w></i>" + id + "<f>" + text + "</f>");
    EXPECT_EQ(record.kind,
              record_kind::bad_record);  // its last field is missing; it keeps what was decoded
    EXPECT_EQ(record.f, (std::array<std::uint64_t, 7>{12, number, number, 0, 0, number}));
    EXPECT_EQ(record.id[0], (___onx_id{1, 2, 3}));
    EXPECT_EQ(record.id[1], (___onx_id{1, 2, number}));
  }
}

TEST_F(xml_reader_test, takes_texts_whole_whatever_their_length_field_says) {
  const std::string rest = "<t>1</t><f>7</f><f>3</f>";
  EXPECT_STREQ(read_one("<k>string_handle_createA</k>" + rest + "<s>abcdef</s>").narrow_string(), "abcdef");
  EXPECT_STREQ(read_one("<k>string_handle_createA</k>" + rest + "<s></s>").narrow_string(), "");
  EXPECT_STREQ(read_one("<k>string_handle_createW</k>" + rest + "<s>a\xe9</s>").wide_string(),
               (std::wstring(L"a") + wchar_t{-23}).c_str());
}

TEST_F(xml_reader_test, reads_a_single_metadata_value_of_a_known_type) {
  const auto content = [](const std::string& type, const std::string& count, const std::string& rest) {
    return "<k>metadata</k><t>1</t><f>7</f><i><w>1</w><w>2</w><w>3</w></i><f>9</f><data>" + type +
           "</data><data>" + count + "</data>" + rest;
  };
  struct {
    const char* type;
    const char* count;
    const char* text;
    std::optional<std::uint64_t> value;
  } const cases[] = {{"3", "1", "42", 42},
                     {"1", "1", "18446744073709551616", 18446744073709551615u},
                     {"1", "1", "-2", 18446744073709551614u},
                     {"3", "1", "4294967296", 4294967295u},
                     {"3", "1", "99999999999999999999", 4294967295u},
                     {"3", "1", "\n -2", 4294967294u},
                     {"3", "1", "-", 0},
                     {"1", "1", "x", 0},
                     {" 3x", "1", "42", 42},
                     {"2", "1", "42", std::nullopt},
                     {"3", "01", "42", std::nullopt},
                     {"3", "2", "42", std::nullopt}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.type) + "," + c.count + "," + c.text);
    const auto record = read_one(content(c.type, c.count, std::string("<data>") + c.text + "</data>"));
    ASSERT_EQ(record.kind, record_kind::metadata);
    EXPECT_EQ(record.string ? std::optional(record.value()) : std::nullopt, c.value);
  }
  EXPECT_THROW(read_one(content("x", "1", "<v>42</v>")), std::invalid_argument);
  EXPECT_THROW(read_one(content("x", "1", "")), std::out_of_range);
}

TEST_F(xml_reader_test, reads_nested_records_after_the_one_around_them_and_on_after_the_end_record) {
  const std::string inner = "<record><k>task_end</k><t>2</t><f>7</f></record>";
  const auto reader = reading({"<k>task_end</k><t>1</t><f>7</f><other>" + inner + "</other>",
                               "<k>end_of_records</k><t>3</t>", "<k>task_end</k><t>4</t><f>7</f>"});
  EXPECT_EQ(reader->freq(), "1000");
  EXPECT_EQ(reader->hwc(), "4");
  EXPECT_FALSE(reader->done());
  trace_record record;
  for (const std::uint64_t timestamp : {1u, 2u, 3u, 4u}) {
    ASSERT_TRUE(reader->current_and_advance(record));
    ASSERT_EQ(record.timestamp(), timestamp);
  }
  EXPECT_FALSE(reader->current_and_advance(record));
}

TEST_F(xml_reader_test, tells_the_version_by_its_number) {
  const std::string rest = " ts_frequency=\"1\" hardware_concurrency=\"2\"><record></record></trace>";
  EXPECT_EQ(opened("<trace" + rest), nullptr);
  EXPECT_TRUE(opened("<trace version=\"1\"></trace>")->done());
  for (const char* const version : {"abc", "0", "0.9"}) {
    EXPECT_FALSE(opened("<trace version=\"" + std::string(version) + "\"" + rest)->done()) << version;
  }
}

TEST_F(xml_reader_death_test, aborts_when_the_document_is_no_trace) {
  constexpr const char* no_tag = "^XML trace file does not have trace tag\n$";
  constexpr const char* no_attributes =
      "^XML trace tag does not ts_frequency or hardware_concurrency attributes\n$";
  EXPECT_DEATH(opened("<"), no_tag);
  EXPECT_DEATH(opened("<traces version=\"0\"></traces>"), no_tag);
  EXPECT_DEATH(opened("<trace version=\"0\" ts_frequency=\"1\"></trace>"), no_attributes);
  EXPECT_DEATH(opened("<trace version=\"0\" ts_frequency=\"\" hardware_concurrency=\"1\">"), no_attributes);
}

TEST_F(xml_reader_test, reads_every_prefix_up_to_its_last_whole_record) {
  const std::string element = "<record><k>task_end</k><t>1</t><f>7</f></record>\n";
  const std::string whole = header + element + element + "</trace>";
  const std::size_t first_field = whole.find("<f>7") + 4;  // where the first record has all that it needs
  for (std::size_t kept = std::string(header).size() - 2; kept < whole.size(); ++kept) {
    SCOPED_TRACE(kept);
    const auto reader = opened(whole.substr(0, kept));
    std::size_t good = 0;
    trace_record record;
    while (reader->current_and_advance(record) && record.kind != record_kind::bad_record) ++good;
    EXPECT_EQ(good, (kept >= first_field ? 1u : 0u) + (kept >= first_field + element.size() ? 1u : 0u));
  }
}

}  // namespace
