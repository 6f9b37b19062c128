#include "kzr/dump/file_survey.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "kzr/common/captured_output.h"
#include "kzr/common/progress_bar.h"
#include "kzr/dump/record_size.h"
#include "model/domain_table.h"
#include "reader/record_descriptions.h"
#include "reader/trace_reader.h"
#include "xml/document.h"

namespace fs = std::filesystem;

const char* name_of(file_ending ending) {
  switch (ending) {
    case file_ending::closed:
      return "closed";
    case file_ending::unclosed:
      return "without end record";
    case file_ending::damaged:
      return "damaged";
    case file_ending::empty:
      return "empty";
    case file_ending::foreign:
      return "foreign";
    case file_ending::cut_header:
      return "header cut";
    case file_ending::unsupported_version:
      return "unsupported version";
    case file_ending::fatal:
      return "fatal";
    case file_ending::without_version:
      return "without version";
    case file_ending::unreadable:
      break;
  }
  return "unreadable";
}

bool is_usable(file_ending ending) {
  return ending == file_ending::closed || ending == file_ending::unclosed || ending == file_ending::damaged;
}

bool ends_list(file_ending ending) {
  return ending == file_ending::without_version || ending == file_ending::unreadable;
}

namespace {

std::string path_of(const std::string& stem, std::uint64_t number) {
  return stem + '.' + std::to_string(number);
}

/// The first byte of a file; empty when there is none.
std::optional<unsigned char> first_byte_of(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  const int byte = file ? std::fgetc(file.get()) : EOF;
  if (byte == EOF) return std::nullopt;
  return static_cast<unsigned char>(byte);
}

bool is_binary_mark(unsigned char byte) { return byte == 'A' || byte == 'a'; }

/// What the document itself tells about an XML trace file.
struct document_facts {
  bool is_whole = false;
  std::uint64_t records = 0;
  std::uint64_t cut_texts = 0;
  std::string version;
};

document_facts examine_document(const std::string& path) {
  const captured_output messages;
  xml::document document(path.c_str());
  document_facts facts;
  facts.is_whole = document.parse();
  facts.records = document.elems("record").size();
  if (document.root() != nullptr) facts.version = document.root()->get_attribute("version");
  facts.cut_texts = messages.count_lines();
  return facts;
}

/// The type of the domain that the record creates, `unknown` for any other record.
DomainType type_of_created_domain(const trace_record& record) {
  if (record.kind == record_kind::domain_create_a)
    return classify_domain(std::string_view(record.narrow_string()));
  if (record.kind == record_kind::domain_create_w)
    return classify_domain(std::wstring_view(record.wide_string()));
  return DomainType::unknown;
}

/// Reads one file into its survey.
class surveyor {
 public:
  surveyor(file_survey& file, const std::string& stem, progress_bar& progress)
      : file_(file), stem_(stem), progress_(progress) {}

  void run() {
    const std::optional<unsigned char> mark = first_byte_of(file_.path);
    if (mark && is_binary_mark(*mark)) file_.format = "binary";
    if (mark == '<') {
      file_.format = "xml";
      document_ = examine_document(file_.path);
      file_.cut_texts = document_.cut_texts;
      progress_.add(file_.size_bytes);
    }
    try {
      const std::unique_ptr<trace_reader> reader = open();
      if (!reader) {
        end(file_ending::without_version, "no version in its root element");
      } else if (reader->done()) {
        tell_why_done(mark);
      } else {
        is_open_ = true;
        file_.frequency = reader->freq();
        file_.concurrency = reader->hwc();
        read(*reader);
      }
    } catch (const std::logic_error&) {
      end(file_ending::fatal, malformed_metadata);
      // The reader of XML files, which alone ends so, is one record ahead of what it hands out.
      file_.damaged_record = file_.record_count + (is_open_ ? 2 : 1);
    } catch (const std::exception& failure) {
      end(file_ending::fatal, failure.what());
    }
  }

 private:
  std::unique_ptr<trace_reader> open() {
    const captured_output messages;
    return trace_reader::create_reader(stem_, file_.number, texts_);
  }

  void end(file_ending ending, const std::string& reason = {}) {
    file_.ending = ending;
    file_.reason = reason;
  }

  void tell_why_done(std::optional<unsigned char> mark) {
    if (fs::is_directory(file_.path)) {
      end(file_ending::foreign, "a directory");
    } else if (!mark) {
      end(file_ending::empty);
    } else if (is_binary_mark(*mark)) {
      end(file_ending::cut_header);
    } else if (*mark == '<') {
      end(file_ending::unsupported_version, "version " + document_.version);
    } else {
      end(file_ending::foreign,
          "begins with byte " + std::to_string(*mark) + ", a trace file with \"A\", \"a\" or \"<\"");
    }
  }

  void read(trace_reader& reader) {
    trace_record record;
    while (reader.current_and_advance(record)) {
      if (record.kind == record_kind::bad_record) return tell_damage(record);
      count(record);
      progress_.add(binary_size_of(record));
      if (record.kind == record_kind::end_of_records) return tell_rest(record);
    }
    // Only an XML file just stops giving records.
    if (document_.is_whole) {
      end(file_ending::unclosed);
    } else {
      end(file_ending::damaged, "mark-up not understood");
      file_.damaged_record = file_.record_count + 1;
    }
  }

  void count(const trace_record& record) {
    file_.creates_openmp = file_.creates_openmp || type_of_created_domain(record) == DomainType::openmp;
    ++file_.records_by_kind[static_cast<std::size_t>(record.kind)];
    ++file_.record_count;
    const std::uint64_t timestamp = record.timestamp();
    if (timestamp < previous_timestamp_) ++file_.backward_steps;
    previous_timestamp_ = timestamp;
    file_.first_timestamp = std::min(file_.first_timestamp.value_or(timestamp), timestamp);
    file_.last_timestamp = std::max(file_.last_timestamp.value_or(timestamp), timestamp);
  }

  void tell_damage(const trace_record& record) {
    if (file_.format == "xml") {
      if (document_.records == 0) return end(file_ending::damaged, "no records");
      end(file_ending::damaged, record.narrow_string());
      file_.damaged_record = file_.record_count + 1;
    } else if (record.offset == file_.size_bytes) {
      end(file_ending::unclosed);
    } else {
      end(file_ending::damaged, record.narrow_string());
      if (record.f[0] >= record_descriptions.size()) {
        file_.reason += " (kind " + std::to_string(record.f[0]) + ')';
      }
      file_.damaged_byte = std::min(record.offset, file_.size_bytes);
    }
  }

  void tell_rest(const trace_record& end_record) {
    end(file_ending::closed);
    if (file_.format == "xml") {
      file_.unread_records = document_.records - std::min(document_.records, file_.record_count);
    } else {
      const std::uint64_t end_byte = end_record.offset + binary_size_of(end_record);
      file_.unread_bytes = file_.size_bytes - std::min(end_byte, file_.size_bytes);
    }
  }

  file_survey& file_;
  const std::string& stem_;
  progress_bar& progress_;
  document_facts document_;
  text_arena texts_;
  bool is_open_ = false;
  std::uint64_t previous_timestamp_ = 0;
};

/// The file's name and size; empty when there is none of that number. One that cannot be read has its ending.
std::optional<file_survey> find_file(const std::string& stem, int number) {
  file_survey file;
  file.number = number;
  file.path = path_of(stem, static_cast<std::uint64_t>(number));
  file.format = "unknown";
  std::error_code failure;
  const fs::file_status status = fs::status(file.path, failure);
  if (!fs::exists(status)) return std::nullopt;
  if (fs::is_regular_file(status)) file.size_bytes = fs::file_size(file.path, failure);
  if (std::FILE* const opened = std::fopen(file.path.c_str(), "rb")) {
    std::fclose(opened);
  } else {
    file.ending = file_ending::unreadable;
    file.reason = std::strerror(errno);
  }
  return file;
}

}  // namespace

std::vector<file_survey> survey_files(const std::string& stem, progress_bar& progress) {
  std::vector<file_survey> files;
  for (int number = 0; auto file = find_file(stem, number); ++number) {
    if (file->ending != file_ending::unreadable) surveyor(*file, stem, progress).run();
    files.push_back(std::move(*file));
    if (ends_list(files.back().ending)) break;
  }
  return files;
}

numbering_gap find_gap(const std::string& stem, std::uint64_t missing) {
  numbering_gap gap{missing, {}};
  const fs::path path(stem);
  const std::string prefix = path.filename().string() + '.';
  std::error_code failure;
  const fs::path directory = path.has_parent_path() ? path.parent_path() : fs::path(".");
  for (fs::directory_iterator entry(directory, failure), last; !failure && entry != last;
       entry.increment(failure)) {
    const std::string name = entry->path().filename().string();
    if (!name.starts_with(prefix)) continue;
    std::uint64_t number = 0;
    const char* const digits = name.data() + prefix.size();
    const auto [rest, error] = std::from_chars(digits, name.data() + name.size(), number);
    // Only names that the numbering itself would give, so no leading zeros.
    const bool is_trace_file = error == std::errc{} && prefix + std::to_string(number) == name;
    if (is_trace_file && number > missing) gap.unread.push_back(number);
  }
  std::sort(gap.unread.begin(), gap.unread.end());
  return gap;
}

file_inventory list_files(const std::string& stem) {
  file_inventory files;
  std::error_code failure;
  for (;; ++files.count) {
    const std::string path = path_of(stem, files.count);
    const fs::file_status status = fs::status(path, failure);
    if (!fs::exists(status)) return files;
    if (fs::is_regular_file(status)) {
      const std::uint64_t size_bytes = fs::file_size(path, failure);
      files.total_bytes += size_bytes;
      if (first_byte_of(path) == '<') files.xml_bytes += size_bytes;
    } else if (!fs::is_directory(status)) {
      files.special_file = path;
    }
  }
}
