#include "reader/trace_record.h"

#include <iostream>
#include <sstream>

#include "reader/record_descriptions.h"

void trace_record::reset() {
  kind = end_of_records;
  producer = -1;
  f = {};
  id = {};
  string = nullptr;
  raw_offset = 0;
  raw[0] = 0;
}

void trace_record::dump() const {
  std::ostringstream out;
  if (raw[0] != 0) {
    // The count byte comes first and the last captured byte is left out. That is meant.
    out << '\n' << "raw bytes " << std::hex << raw_offset << " : ";
    for (std::size_t i = 0; i < raw[0]; ++i) out << static_cast<unsigned>(raw[i]);
    out << std::dec << '\n';
  }
  out << producer << ": ";
  if (kind < 0 || static_cast<std::size_t>(kind) >= record_descriptions.size()) {
    out << "  **** ERROR: Unknown opcode\n";
  } else {
    out << record_descriptions[static_cast<std::size_t>(kind)].name << '\n';
    for (std::size_t i = 0; i < f.size(); ++i) out << "   f[" << i << "] = " << f[i] << '\n';
    for (std::size_t k = 0; k < id.size(); ++k) {
      out << "   id[" << k << "] = (" << id[k].d1 << ", " << id[k].d2 << ", " << id[k].d3 << " )\n";
    }
    if (string != nullptr) {
      out << "   string = " << narrow_string() << '\n';
    } else {
      out << "   string = NULL\n";
    }
  }
  std::cout << out.str();
}
