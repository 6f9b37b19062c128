#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "recorder/image_list.h"
#include "recorder/ompt/symbol_table.h"

namespace kzr {

/// A place in the program's code where a region or task is made.
struct code_site {
  std::uint64_t address;  ///< of the call into the runtime; 0 when it is not known
  std::string name;       ///< of the function around it
};

/// All places that were seen, by number below `most_sites`. Number 0 stands for an unknown place. Any thread
/// may ask at any time; only a place that is seen for the first time takes a lock, and reads the symbols of
/// its image when that is seen for the first time.
class code_sites {
 public:
  /// The places that come when there are so many have no number of their own.
  static constexpr std::uint16_t most_sites = 1 << 14;

  /// Called with the lines of the list of images at the start and whenever images have come.
  using list_writer = std::function<void(const std::string& lines)>;

  /// `runtime_address` is in the OpenMP runtime's image.
  void start(std::uint64_t runtime_address, list_writer write_list);

  /// True for an address in the OpenMP runtime, which tells nothing of the program, and for 0.
  [[nodiscard]] bool is_in_runtime(std::uint64_t address) const {
    return address == 0 || runtime_.holds(address);
  }

  /// The number of the place from which the runtime was called so that it returns to `return_address`. A
  /// place within a part of a function that the compiler made takes the name of the place `around`. `now` is
  /// the tick.
  [[nodiscard]] std::uint16_t get(std::uint64_t return_address, std::uint16_t around, std::uint64_t now);

  [[nodiscard]] const code_site& at(std::uint16_t number) const {
    return *sites_[number].load(std::memory_order_acquire);
  }

 private:
  [[nodiscard]] std::string name_of(std::uint64_t address, std::uint16_t around, std::uint64_t now);
  [[nodiscard]] const loaded_image* find_image(std::uint64_t address, std::uint64_t now);

  loaded_image runtime_;
  list_writer write_list_;
  std::array<std::atomic<const code_site*>, most_sites> sites_{};

  std::mutex lock_;  ///< for the members below
  std::vector<std::unique_ptr<const code_site>> known_;
  std::unordered_map<std::uint64_t, std::uint16_t> numbers_;  ///< by return address
  std::vector<loaded_image> images_;
  std::string list_;
  std::map<std::string, symbol_table> symbols_;  ///< by the image's path
};

}  // namespace kzr
