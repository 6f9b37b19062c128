#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

struct Dwfl;

/// Where in the source some code comes from; empty texts for what is not known.
struct code_place {
  std::string function;
  std::string source;  ///< path and line, with a colon in between
};

/// Finds the source of code in images, by their symbols and debug information. What is missing or cannot be
/// read is no error. Nothing is asked of the network.
class code_locator {
 public:
  code_locator();
  ~code_locator();
  code_locator(const code_locator&) = delete;
  code_locator& operator=(const code_locator&) = delete;

  /// The code at `offset` of the image with that path, counted from where the image begins in memory, or at
  /// that address when the image cannot be loaded elsewhere.
  [[nodiscard]] code_place find(const std::string& image, std::uint64_t offset);

 private:
  struct session_closer {
    void operator()(Dwfl* session) const;
  };
  using session = std::unique_ptr<Dwfl, session_closer>;

  [[nodiscard]] static session open(const std::string& image);

  std::map<std::string, session> images_;  ///< by path; null for those that cannot be read
};
