#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "reader/trace_reader.h"
#include "xml/document.h"

/// Reads a trace file in XML form, format version 0, from its parsed document: the "record" elements in
/// document order, whatever they are nested in. A damaged element gives a bad record, "incomplete record" or
/// "unknown record", and the reader stays there.
class xml_reader_v0 : public trace_reader {
 public:
  /// Takes over `document`, which has a root. `frequency` (ticks per second) and `concurrency` (hardware
  /// threads) are the texts of the root's attributes. Reads the first record.
  xml_reader_v0(const std::string& file_name, int producer, std::unique_ptr<xml::document> document,
                const std::string& frequency, const std::string& concurrency, record_store& store);

  std::shared_ptr<trace_record> current_and_advance() override;
  void move_text_ahead(text_arena& texts) override {
    if (current_) current_->move_text_to(texts);
  }
  [[nodiscard]] std::string freq() const override { return frequency_; }
  [[nodiscard]] std::string hwc() const override { return concurrency_; }

  /// Name of the file, for messages of tools.
  [[nodiscard]] const std::string& file_name() const { return file_name_; }

 private:
  void next_record();
  void make_record();
  void make_bad(const char* message) { make_bad_record(*current_, message); }

  [[nodiscard]] bool read_fields();
  [[nodiscard]] bool read_id(const xml::element& field, ___onx_id& id) const;
  [[nodiscard]] const void* widen(const char* text);
  void read_metadata_value();

  std::string file_name_;
  std::unique_ptr<xml::document> document_;  ///< let go when the last record was handed out
  std::vector<xml::element*> records_;
  std::shared_ptr<trace_record> current_;
  std::size_t cursor_ = 0;
  std::string frequency_;
  std::string concurrency_;
  std::vector<const xml::element*>
      parts_;  ///< the child elements of the current record, as far as they count
};

/// Parses the file and opens it as a trace: a reader with its first record read, a plain done reader when the
/// version is not 0, or null when there is no version. Aborts when the document is no trace
/// or lacks the frequency or the concurrency.
std::shared_ptr<trace_reader> open_xml_trace(const std::string& file_name, int producer, record_store& store);
