// The least that a converter can do: reads every byte of the trace files and writes as many lines and bytes
// as the converter does, without looking at either. "lines" writes each line of the timeline with a call of
// its own and the structure in blocks, "blocks" writes both in blocks.

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::size_t block_bytes = std::size_t{64} * 1024;

[[noreturn]] void fail(const std::string& file) {
  std::perror(file.c_str());
  std::exit(1);
}

/// Reads `<stem>.0`, `<stem>.1`, ... up to the first missing number; returns how many there were.
std::size_t read_traces(const std::string& stem) {
  std::vector<char> block(block_bytes);
  for (std::size_t number = 0;; ++number) {
    const std::string name = stem + "." + std::to_string(number);
    const int file = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return number;
    ssize_t arrived = 0;
    do {
      arrived = ::read(file, block.data(), block.size());
    } while (arrived > 0);
    if (arrived < 0) fail(name);
    ::close(file);
  }
}

/// An output file of some lines, all of the same length but for one byte.
class output {
 public:
  explicit output(const std::string& name)
      : name_(name), file_(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)) {
    if (file_ < 0) fail(name_);
  }
  output(const output&) = delete;
  output& operator=(const output&) = delete;
  ~output() { ::close(file_); }

  /// Writes `lines` lines of together `bytes` bytes, with calls of at most `call_bytes` bytes if a line fits.
  void write(std::uint64_t lines, std::uint64_t bytes, std::size_t call_bytes) const {
    if (lines == 0 || bytes < lines) return;
    const std::size_t length = bytes / lines;
    write_lines(bytes % lines, length + 1, call_bytes);
    write_lines(lines - bytes % lines, length, call_bytes);
  }

 private:
  void write_lines(std::uint64_t lines, std::size_t length, std::size_t call_bytes) const {
    const std::uint64_t per_call = std::max<std::uint64_t>(1, call_bytes / length);
    const std::string line = std::string(length - 1, '.') + '\n';
    std::string block;
    for (std::uint64_t i = 0; i < std::min(per_call, lines); ++i) block += line;
    for (std::uint64_t left = lines; left > 0;) {
      const std::uint64_t now = std::min(left, per_call);
      const auto size = static_cast<ssize_t>(now * length);
      if (::write(file_, block.data(), static_cast<std::size_t>(size)) != size) fail(name_);
      left -= now;
    }
  }

  std::string name_;
  int file_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    std::fputs(
        "usage: floor lines|blocks TRACE_STEM TRACEML_LINES TRACEML_BYTES GRAPHML_LINES GRAPHML_BYTES\n",
        stderr);
    return 2;
  }
  const auto number = [argv](int place) { return std::strtoull(argv[place], nullptr, 10); };
  const bool by_line = std::string_view(argv[1]) == "lines";
  if (read_traces(argv[2]) == 0) fail(argv[2]);
  output("floor.traceml").write(number(3), number(4), by_line ? 1 : block_bytes);
  output("floor.graphml").write(number(5), number(6), block_bytes);
  return 0;
}
