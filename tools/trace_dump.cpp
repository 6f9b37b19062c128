// Prints every record of trace files as text, damaged ones included: `trace_dump <run>/_kzr.0 ...`
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "reader/record_descriptions.h"
#include "reader/trace_reader.h"
#include "reader/trace_record.h"

namespace {

constexpr std::uint64_t header_bytes = 17;
constexpr std::int32_t metadata_kind = 6;

/// A trace file's name taken apart: everything before the last point, and the number after it.
struct trace_file {
  std::string stem;
  int number = 0;
};

std::optional<trace_file> read_name(std::string_view name) {
  const std::size_t point = name.rfind('.');
  if (point == std::string_view::npos) return std::nullopt;
  trace_file file{std::string(name.substr(0, point)), 0};
  const char* end = name.data() + name.size();
  const auto [last, error] = std::from_chars(name.data() + point + 1, end, file.number);
  if (error != std::errc{} || last != end) return std::nullopt;
  return file;
}

/// Size of a record in the binary form. Its own offset is of no use here: it does not count what the reader's
/// capture had no room for.
std::uint64_t get_size_bytes(const trace_record& record) {
  std::uint64_t size = 9;
  std::uint32_t length = 0;
  const record_description& description = record_descriptions[static_cast<std::size_t>(record.kind)];
  for (std::size_t position = 0; position < description.fields.size(); ++position) {
    switch (description.fields[position]) {
      case field_code::end:
        break;
      case field_code::id:
        size += 24;
        break;
      case field_code::number:
        size += 8;
        length = static_cast<std::uint32_t>(record.f[position + 2]);
        break;
      case field_code::byte:
        size += 1;
        length = static_cast<std::uint32_t>(record.f[position + 2]);
        break;
      case field_code::narrow_string:
        size += length;
        break;
      case field_code::wide_string:
        size += std::uint64_t{2} * length;
        break;
    }
  }
  const bool has_value = record.kind == metadata_kind && record.string != nullptr;
  return has_value ? size + (record.f[5] == 1 ? 8 : 4) : size;
}

/// True when the whole file could be read.
bool dump_file(const trace_file& file, record_store& store) {
  const std::shared_ptr<trace_reader> reader = trace_reader::create_reader(file.stem, file.number, store);
  if (!reader || reader->done()) {
    std::fprintf(stderr, "trace_dump: %s.%d is no trace file\n", file.stem.c_str(), file.number);
    return false;
  }
  std::printf("%s.%d: %s ticks per second, %s hardware threads\n", file.stem.c_str(), file.number,
              reader->freq().c_str(), reader->hwc().c_str());
  std::uint64_t offset = header_bytes;
  for (std::uint64_t number = 0; const auto record = reader->current_and_advance(); ++number) {
    const bool is_binary = record->raw_offset != 0;
    std::printf(is_binary ? "\nat byte %" PRIu64 ":\n" : "\nrecord %" PRIu64 ":\n",
                is_binary ? offset : number);
    if (record->kind == trace_record::bad_record) {
      std::printf("%s\n", record->narrow_string());
      return false;
    }
    record->dump();
    offset += get_size_bytes(*record);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: trace_dump <stem>.<number>...\n");
    return 2;
  }
  record_store store;
  bool complete = true;
  for (int index = 1; index < argc; ++index) {
    const std::optional<trace_file> file = read_name(argv[index]);
    if (!file) {
      std::fprintf(stderr, "trace_dump: %s does not end in a file number\n", argv[index]);
      complete = false;
      continue;
    }
    complete = dump_file(*file, store) && complete;
  }
  return complete ? 0 : 1;
}
