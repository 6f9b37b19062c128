#pragma once

#include <string>

#include "kzr/output/output_watch.h"

/// Whether an output may take the place of what is there.
enum class existing_output : bool { replaced, refused };

/// An output that is there as a whole or not at all: it is written in a hidden folder beside its place and
/// moved there at the end. Whatever happens before that, the folder goes with the object.
class staged_output {
 public:
  /// Makes the folder. Throws `output_error`.
  staged_output(std::string place, existing_output existing);
  staged_output(const staged_output&) = delete;
  staged_output& operator=(const staged_output&) = delete;
  ~staged_output();

  /// Where the file or folder is to be written; nothing is there yet.
  [[nodiscard]] std::string path() const { return folder_ + "/output"; }
  /// Moves it to its place. Throws `output_error`.
  void move_to_place();

 private:
  std::string place_;
  existing_output existing_;
  delayed_signals signals_;
  std::string folder_;
};

/// Why nothing can be written at `place`, as far as that can be told in advance; empty if nothing speaks
/// against it.
[[nodiscard]] std::string explain_unusable_place(const std::string& place, existing_output existing);
