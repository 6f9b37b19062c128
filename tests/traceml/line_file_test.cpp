#include "traceml/line_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

std::string nth_line(std::size_t n) {
  return "<line n=\"" + std::to_string(n) + "\" " + std::string(n * 7 % 331, 'x') + "/>\n";
}

std::string read_file(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

/// The numbered lines that fit into `size_bytes` bytes without cutting one.
std::string whole_lines(std::size_t size_bytes) {
  std::string text;
  for (std::size_t n = 0; text.size() + nth_line(n).size() <= size_bytes; ++n) text += nth_line(n);
  return text;
}

const std::string path = testing::TempDir() + "line_file_" + std::to_string(getpid());
const struct path_remover {
  ~path_remover() { unlink(path.c_str()); }
} remover;

/// Starts a process that writes numbered lines to `path` until it is stopped; `limit` is the size of file
/// that it may write.
pid_t start_writer(rlim_t limit) {
  const pid_t child = fork();
  if (child != 0) return child;
  const rlimit bounds{limit, limit};
  if (signal(SIGXFSZ, SIG_IGN) == SIG_ERR || setrlimit(RLIMIT_FSIZE, &bounds) != 0) _exit(1);
  line_file file(path);
  for (std::size_t n = 0; file.is_open(); ++n) file.write_line(nth_line(n));
  _exit(0);
}

TEST(line_file, holds_what_was_written_at_once_and_nothing_else_after_the_close) {
  std::ofstream(path) << "what an earlier run left\n";
  std::string expected = "<head>\n<more/>\n";
  line_file file(path);
  file.write_plain(expected);
  EXPECT_EQ(read_file(path), expected);
  for (std::size_t n = 0; n < 4000; ++n) {
    std::string line = nth_line(n);
    if (n % 2000 == 1999) line.insert(9, n * 200, 'y');  // 400 KB and more: longer than any window
    file.write_line(line);
    file.write_line("");
    expected += line;
    if (n % 500 != 0) continue;
    const std::string now = read_file(path);
    ASSERT_EQ(now.substr(0, expected.size()), expected);
    ASSERT_EQ(now.find_first_not_of('\n', expected.size()), std::string::npos);
  }
  file.write_plain("</head>\n");
  file.close();
  file.write_line("lost\n");
  EXPECT_EQ(read_file(path), expected + "</head>\n");
}

TEST(line_file, writes_the_same_bytes_to_a_pipe) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  line_file file("/dev/fd/" + std::to_string(ends[1]));
  file.write_plain("<head>\n");
  file.write_line("<a/>\n");
  char text[100];
  EXPECT_EQ(std::string(text, static_cast<std::size_t>(read(ends[0], text, sizeof text))), "<head>\n<a/>\n");
}

TEST(line_file, loses_silently_what_cannot_be_written) {
  for (const std::string lost : {"/dev/full", "/none/at/all", "/", ""}) {
    line_file file(lost);
    file.write_plain("<head>\n");
    file.write_line("<a/>\n");
    EXPECT_FALSE(file.is_open()) << lost;
  }
}

TEST(line_file, ends_with_the_last_line_that_fits_where_it_may_not_grow) {
  for (const rlim_t limit : {10u, 5000u, 262144u, 262145u, 1000000u}) {
    SCOPED_TRACE(limit);
    int status = -1;
    waitpid(start_writer(limit), &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read_file(path), whole_lines(limit));
  }
}

TEST(line_file, is_left_with_whole_lines_and_newlines_by_a_kill) {
  for (const std::size_t count : {0u, 1u, 1500u, 20000u}) {
    SCOPED_TRACE(count);
    const pid_t child = fork();
    if (child == 0) {
      line_file file(path);
      for (std::size_t n = 0; n < count; ++n) file.write_line(nth_line(n));
      kill(getpid(), SIGKILL);
    }
    waitpid(child, nullptr, 0);
    std::string lines;
    for (std::size_t n = 0; n < count; ++n) lines += nth_line(n);
    const std::string left = read_file(path);
    EXPECT_EQ(left.substr(0, lines.size()), lines);
    EXPECT_EQ(left.find_first_not_of('\n', lines.size()), std::string::npos);
  }
}

}  // namespace
