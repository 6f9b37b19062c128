#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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
  xml_reader_v0(std::int32_t producer, std::unique_ptr<xml::document> document, const std::string& frequency,
                const std::string& concurrency, text_arena& texts);

  /// The record behind the one that is handed out is decoded at once, so that what ends the program there
  /// does so before that one is processed.
  bool current_and_advance(trace_record& record) override;
  [[nodiscard]] std::string freq() const override { return frequency_; }
  [[nodiscard]] std::string hwc() const override { return concurrency_; }

 private:
  void next_record();
  void make_record();

  [[nodiscard]] bool read_fields();
  [[nodiscard]] bool read_id(const xml::element& field, ___onx_id& id) const;
  void read_metadata_value();
  [[nodiscard]] const void* keep_text();
  [[nodiscard]] const void* widen(const char* text);

  std::unique_ptr<xml::document> document_;  ///< let go when the last record was handed out
  std::vector<xml::element*> records_;
  std::size_t cursor_ = 0;
  trace_record current_;                ///< its text or value comes to the arena when it is handed out
  const char* text_ = nullptr;          ///< of the current record, in the document
  std::optional<std::uint64_t> value_;  ///< of the current record, when that is metadata with one
  std::string frequency_;
  std::string concurrency_;
  /// The child elements of the current record, as far as they count.
  std::vector<const xml::element*> parts_;
};

/// Parses the file and opens it as a trace: a reader with its first record read, a plain done reader when the
/// version is not 0, or null when there is no version. Aborts when the document is no trace or lacks the
/// frequency or the concurrency.
std::unique_ptr<trace_reader> open_xml_trace(const std::string& file_name, std::int32_t producer,
                                             text_arena& texts);
