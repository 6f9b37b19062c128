#include "reader/multifile_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "support/recorded.h"
#include "support/scratch_directory.h"

namespace {

/// Writes `files` as 0, 1, ... and merges them; an empty optional leaves a number out.
class merge_test : public testing::Test {
 protected:
  struct merged {
    std::string frequency;
    std::string concurrency;
    /// "file:time" of every record, separated by blanks.
    std::string order;
  };
  merged merge(const std::vector<std::pair<int, std::string>>& files) {
    const scratch_directory directory;
    for (const auto& [n, bytes] : files) write_file(directory / ("_kzr." + std::to_string(n)), bytes);
    multifile_reader reader(directory / "_kzr");
    merged result{reader.frequency(), reader.concurrency(), ""};
    trace_record record;
    while (reader.next_record(record)) {
      if (!result.order.empty()) result.order += ' ';
      result.order += std::to_string(record.producer) + ':' + std::to_string(record.timestamp());
    }
    EXPECT_FALSE(reader.next_record(record));
    return result;
  }
};

/// The records of one file at these times; the last one is the end record.
std::string at_times(const std::vector<std::uint64_t>& times) {
  kzr::trace_encoder file = recorded();
  for (std::size_t i = 0; i + 1 < times.size(); ++i) file.at(times[i]).task_end(i);
  return file.at(times.back()).end().take();
}

/// The same merge with the standard heap operations on plain numbers.
std::string reference_order(const std::vector<std::vector<std::uint64_t>>& files) {
  struct entry {
    std::uint64_t time;
    std::size_t file;
    std::size_t next;
  };
  const auto later = [](const entry& a, const entry& b) { return a.time > b.time; };
  std::vector<entry> heap;
  const auto push = [&](std::size_t file, std::size_t next) {
    heap.push_back({files[file][next], file, next});
    std::push_heap(heap.begin(), heap.end(), later);
  };
  for (std::size_t file = 0; file < files.size(); ++file) push(file, 0);
  std::string order;
  while (!heap.empty()) {
    std::pop_heap(heap.begin(), heap.end(), later);
    const entry front = heap.back();
    heap.pop_back();
    if (front.next + 1 == files[front.file].size()) continue;  // the end record
    if (!order.empty()) order += ' ';
    order += std::to_string(front.file) + ':' + std::to_string(front.time);
    push(front.file, front.next + 1);
  }
  return order;
}

TEST_F(merge_test, orders_equal_times_as_the_standard_heap_does) {
  std::mt19937 random(20);
  for (std::size_t count = 1; count <= 40; ++count) {
    SCOPED_TRACE(count);
    // Few different times, and files that are not in time order.
    std::vector<std::vector<std::uint64_t>> times(count);
    std::vector<std::pair<int, std::string>> files;
    for (auto& file : times) {
      file.resize(1 + random() % 12);
      for (auto& time : file) time = random() % 5;
      if (random() % 3 != 0) std::sort(file.begin(), file.end());
      files.emplace_back(static_cast<int>(files.size()), at_times(file));
    }
    ASSERT_EQ(merge(files).order, reference_order(times));
  }
}

TEST_F(merge_test, merges_what_is_usable) {
  const std::string good = at_times({5, 7, 9});
  const std::string other = kzr::trace_encoder(kzr::trace_form::binary, 50, 8).at(6).task_end(1).end().take();
  const std::string unordered = at_times({4, 8, 3, 10});
  const std::string cut = good.substr(0, good.size() - 10);
  std::string unknown = at_times({1, 2, 3, 4});
  unknown[17 + 17] = 20;
  const std::uint64_t large = 1ull << 63;
  struct {
    const char* what;
    std::vector<std::pair<int, std::string>> files;
    const char* frequency;
    const char* concurrency;
    std::string order;
  } const cases[] = {
      {"nothing", {}, "", "", ""},
      {"no number 0", {{1, good}}, "", "", ""},
      {"a gap", {{0, good}, {1, other}, {3, good}}, "1000", "4", "0:5 1:6 0:7"},
      {"unusable first", {{0, ""}, {1, "foreign"}, {2, other}, {3, good}}, "50", "8", "3:5 2:6 3:7"},
      {"only unusable", {{0, ""}, {1, "Z"}}, "", "", ""},
      {"a cut file", {{0, other}, {1, cut}}, "50", "8", "1:5 0:6"},
      {"an unknown kind", {{0, unknown}, {1, good}}, "1000", "4", "0:1 1:5 1:7"},
      {"an unordered file", {{0, unordered}, {1, good}}, "1000", "4", "0:4 1:5 1:7 0:8 0:3"},
      {"large times",
       {{0, at_times({large, large + 1})}, {1, good}},
       "1000",
       "4",
       "1:5 1:7 0:" + std::to_string(large)},
      {"a header alone", {{0, recorded().bytes()}, {1, other}}, "1000", "4", "1:6"}};
  for (const auto& [what, files, frequency, concurrency, order] : cases) {
    SCOPED_TRACE(what);
    const merged result = merge(files);
    EXPECT_EQ(result.frequency, frequency);
    EXPECT_EQ(result.concurrency, concurrency);
    EXPECT_EQ(result.order, order);
  }
}

/// What the record points at; of a wide text its first character.
std::string pointed_at(const trace_record& record) {
  if (record.string == nullptr) return "nothing";
  if (record.kind == record_kind::metadata) return std::to_string(record.value());
  if (record.kind != record_kind::domain_create_w) return record.narrow_string();
  return {static_cast<char>(*record.wide_string())};
}

// Many texts pass by and are released several times while four other files wait with theirs.
TEST(multifile_reader, keeps_the_texts_of_waiting_files_when_it_releases_others) {
  constexpr std::uint64_t after_all = UINT64_C(1) << 40;
  const std::string text(250, 't');
  const auto count = static_cast<int>(4 * multifile_reader::kept_text_bytes / text.size());
  kzr::trace_encoder many = recorded();
  for (int i = 0; i < count; ++i) many.string_handle(1, text);
  // Readers of XML files have the next record ready.
  const auto waiting = [] { return recorded(kzr::trace_form::xml).at(after_all); };
  const scratch_directory directory;
  write_file(directory / "_kzr.0", many.end().take());
  write_file(directory / "_kzr.1", waiting().string_handle(1, "narrow").end().take());
  write_file(directory / "_kzr.2", waiting().wide_domain(1, u"wide").end().take());
  write_file(directory / "_kzr.3",
             waiting().metadata(1, {}, 1, kzr::value_type::u64, 1, 1234567890123).end().take());
  write_file(directory / "_kzr.4", waiting().task_end(1).end().take());

  const std::array<std::string, 5> expected{text, "narrow", "w", "1234567890123", "nothing"};
  multifile_reader reader(directory / "_kzr");
  std::array<int, 5> records{};
  trace_record record;
  while (reader.next_record(record)) {
    const auto file = static_cast<std::size_t>(record.producer);
    ++records.at(file);
    ASSERT_EQ(pointed_at(record), expected.at(file));
    reader.release_texts();
  }
  EXPECT_EQ(records, (std::array{count, 1, 1, 1, 1}));
}

}  // namespace
