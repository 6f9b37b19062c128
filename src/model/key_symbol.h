#pragma once

#include <cstdint>
#include <string>

/// A GraphML attribute key.
struct key_symbol {
  std::string name;            ///< under which the program looks the key up; mostly that of the attribute
  std::string attribute_name;  ///< of the attribute
  std::string attribute_type;  ///< GraphML type of its value
  std::string target;          ///< kind of element that carries it
  std::string name_space;      ///< path of kinds that use it
  std::uint64_t number = 0;    ///< in its id

  /// "d" and the key's number.
  [[nodiscard]] std::string gml_id() const { return "d" + std::to_string(number); }
};
