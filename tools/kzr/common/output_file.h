#pragma once

#include <string>
#include <string_view>

/// A file that is there with all that belongs into it, or as it was before: it is written beside its place
/// and put there by finish(). Devices and pipes are written to as they are. Errors are exceptions of the type
/// `std::runtime_error` that tell the path and the reason.
class output_file {
 public:
  explicit output_file(std::string path);
  output_file(const output_file&) = delete;
  output_file& operator=(const output_file&) = delete;
  /// Removes what is not finished. A signal that ends the program does so, too.
  ~output_file();

  void write(std::string_view bytes);
  void finish();

 private:
  void open_beside();
  [[noreturn]] void fail() const;

  std::string path_;
  std::string unfinished_;  ///< where it is written before it is finished; empty for devices and pipes
  int descriptor_ = -1;
};
