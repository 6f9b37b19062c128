#include "recorder/ompt/construct_name.h"

#include <cxxabi.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace kzr {
namespace {

/// Each task carries its name, so long ones would make traces large.
constexpr std::size_t longest_name = 100;

std::string demangle(const std::string& symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
  return status == 0 && text ? std::string(text.get()) : symbol;
}

/// Takes the last list in round brackets off, with the qualifiers behind it.
std::string without_parameters(const std::string& name) {
  const std::size_t close = name.rfind(')');
  if (close == std::string::npos) return name;
  int depth = 0;
  for (std::size_t position = close + 1; position-- > 0;) {
    if (name[position] == ')') ++depth;
    if (name[position] == '(' && --depth == 0) {
      // "operator()" without parameters, "(anonymous namespace)::f": not a list of parameters.
      const bool is_list = position > 0 && name.compare(close + 1, 2, "::") != 0;
      return is_list ? name.substr(0, position) : name;
    }
  }
  return name;
}

}  // namespace

std::string make_printable(std::string_view text) {
  std::string printable(text.substr(0, longest_name));
  for (char& character : printable) {
    if (character == '<') {
      character = '[';
    } else if (character == '>') {
      character = ']';
    } else if (character == '&' || character == '"' || character < ' ' || character > '~') {
      character = '_';
    }
  }
  return printable;
}

std::string name_construct(std::string_view symbol) {
  const std::string function(symbol.substr(0, symbol.find('.')));
  // What begins with a dot is clang's own, as "..omp_outlined.." is.
  if (function.empty()) return {};
  return make_printable(without_parameters(demangle(function)));
}

}  // namespace kzr
