#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

enum class record_kind : std::int32_t;

namespace kzr {

/// The two forms of a trace file; both carry the same records.
enum class trace_form { binary, xml };

/// Identifier of a traced object: three words, unique within a run.
struct object_id {
  std::uint64_t d1 = 0;
  std::uint64_t d2 = 0;
  std::uint64_t d3 = 0;

  friend constexpr bool operator==(const object_id& left, const object_id& right) {
    return left.d1 == right.d1 && left.d2 == right.d2 && left.d3 == right.d3;
  }
};

/// What a `relation` record can say of its two objects, as numbered in the file.
enum class relation_code : std::uint8_t {
  removes_edge_to = 2,  ///< the edge from port head to port tail is gone
  is_parent_of = 3,
  is_child_of = 5,
  makes_edge_to = 7,  ///< there is an edge from port head to port tail
};

/// Width of a metadata value, as numbered in the file.
enum class value_type : std::uint8_t { u64 = 1, u32 = 3 };

/// Makes the bytes of one trace file, record by record. The header is there from the start; every method
/// below `at` appends one record. Handles and identifiers are the caller's. Not safe for concurrent use.
///
/// Each record carries the current time, which then goes up by one; the first record's is 1.
///
/// The XML form has no way to escape characters: a text with "</", with "<" before a name (as in the names of
/// C++ templates) or with the byte 0xFF ends what readers understand of the file. Such texts need the binary
/// form.
class trace_encoder {
 public:
  /// `frequency` is in ticks per second, `concurrency` the number of hardware threads.
  trace_encoder(trace_form form, std::uint64_t frequency, std::uint64_t concurrency);

  /// Sets the time of the next record, in ticks.
  trace_encoder& at(std::uint64_t timestamp);

  /// Readers ignore this record and the next one.
  trace_encoder& definition(std::uint8_t first, std::string_view text, std::uint8_t second,
                            std::uint8_t third);
  trace_encoder& api_version(std::string_view text);
  /// A domain gets its handle and name. Names and texts of domains and handles are cut after 255 characters:
  /// their length is one byte in the file.
  trace_encoder& domain(std::uint64_t handle, std::string_view name);
  /// Wide texts are 16-bit characters; the XML form keeps the low byte of each.
  trace_encoder& wide_domain(std::uint64_t handle, std::u16string_view name);
  /// An object comes into being or goes. Readers ignore both; task_group() is what tells of objects.
  trace_encoder& id_create(std::uint64_t domain, const object_id& id);
  trace_encoder& id_destroy(std::uint64_t domain, const object_id& id);
  /// A number about an object. Only a single value (`count` 1) is written after the fields.
  trace_encoder& metadata(std::uint64_t domain, const object_id& id, std::uint64_t key, value_type type,
                          std::uint64_t count, std::uint64_t value);
  /// A text of any length about an object, `key` being the string handle that says which.
  trace_encoder& metadata_string(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                 std::string_view value);
  trace_encoder& wide_metadata_string(std::uint64_t domain, const object_id& id, std::uint64_t key,
                                      std::u16string_view value);
  /// What `head` is to `tail`.
  trace_encoder& relation(std::uint64_t domain, const object_id& head, relation_code code,
                          const object_id& tail);
  /// A text gets a handle, by which all other records name it. The converter does not take wide ones.
  trace_encoder& string_handle(std::uint64_t handle, std::string_view text);
  trace_encoder& wide_string_handle(std::uint64_t handle, std::u16string_view text);
  /// The thread begins a task; `name` is a string handle, `extra` the number of the processor that runs it.
  trace_encoder& task_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                            std::uint64_t name, std::uint64_t extra);
  /// The thread ends the task that it began last.
  trace_encoder& task_end(std::uint64_t domain);
  /// A graph, node, port, region or implicit task exists; `name` is the string handle of its kind.
  trace_encoder& task_group(std::uint64_t domain, const object_id& id, const object_id& parent,
                            std::uint64_t name);
  /// A region of `id` within `parent` begins, and ends.
  trace_encoder& region_begin(std::uint64_t domain, const object_id& id, const object_id& parent,
                              std::uint64_t name);
  trace_encoder& region_end(std::uint64_t domain, const object_id& id);
  /// The record that ends a file, and in XML form the end of the document.
  trace_encoder& end();

  /// Ends the document in XML form, without a record; nothing in binary form.
  trace_encoder& close_document();

  /// What was made since the start or the last `take` or `clear`; valid until the next call of another
  /// method.
  [[nodiscard]] std::string_view view() const { return {bytes_.data(), size_}; }
  /// The same as bytes of the caller's own.
  [[nodiscard]] std::string bytes() const { return std::string(view()); }
  /// Gives the bytes out, so that a long recording can be written in blocks.
  [[nodiscard]] std::string take();
  /// Drops the bytes and keeps their room for the next block.
  void clear() { size_ = 0; }

 private:
  /// Appends a record of these fields, each a number, a byte, an identifier or a text.
  template <class... Fields>
  void add_record(record_kind kind, const Fields&... fields);
  void add_element(std::uint64_t value);
  void add_element(const object_id& id);
  void add_element(std::string_view text);
  void add_number_element(std::string_view name, std::uint64_t value);
  [[nodiscard]] std::string bytes_of(std::u16string_view text) const;
  void append(std::string_view text);
  void reserve(std::size_t size_bytes);

  trace_form form_;
  std::uint64_t time_ = 1;
  // The first `size_` bytes are what was made. The others are there in advance: to let a string grow with
  // each field takes three times as long.
  std::string bytes_;
  std::size_t size_ = 0;
};

}  // namespace kzr
