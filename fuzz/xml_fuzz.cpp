// One trace file in XML form: tokenizer, element tree and reader.

#include "fuzz/prescribed_ends.h"
#include "fuzz/scratch_file.h"
#include "reader/xml_reader_v0.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const scratch_file file(data, size);
  expect_prescribed_end([&file] {
    text_arena texts;
    const auto reader = open_xml_trace(file.path(), 0, texts);
    if (!reader) return;
    trace_record record;
    while (reader->current_and_advance(record) && record.kind != record_kind::bad_record) {
    }
  });
  return 0;
}
