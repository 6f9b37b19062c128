#include "recorder/ompt/code_sites.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "recorder/ompt/construct_name.h"
#include "recorder/uncancelled.h"

namespace kzr {
namespace {

std::string in_hexadecimal(std::uint64_t number) {
  std::array<char, 16> digits;
  const auto end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
  return "0x" + std::string(digits.begin(), end);
}

}  // namespace

void code_sites::start(std::uint64_t runtime_address, list_writer write_list) {
  const std::lock_guard guard(lock_);
  write_list_ = std::move(write_list);
  known_.push_back(std::make_unique<const code_site>(code_site{0, "unknown"}));
  sites_[0] = known_.back().get();
  images_ = find_loaded_images();
  for (const loaded_image& image : images_) {
    list_ += describe_image(image, 0);
    if (image.holds(runtime_address)) runtime_ = image;
  }
  write_list_(list_);
}

std::uint16_t code_sites::get(std::uint64_t return_address, std::uint16_t around, std::uint64_t now) {
  const uncancelled cancel_guard;
  const std::lock_guard guard(lock_);
  const auto known = numbers_.find(return_address);
  if (known != numbers_.end()) return known->second;
  if (known_.size() == sites_.size()) return 0;
  // The address behind the call may belong to the next line of the program, or to the next function.
  const std::uint64_t address = return_address - 1;
  known_.push_back(std::make_unique<const code_site>(code_site{address, name_of(address, around, now)}));
  const auto number = static_cast<std::uint16_t>(known_.size() - 1);
  sites_[number].store(known_.back().get(), std::memory_order_release);
  numbers_.emplace(return_address, number);
  return number;
}

std::string code_sites::name_of(std::uint64_t address, std::uint16_t around, std::uint64_t now) {
  const loaded_image* const image = find_image(address, now);
  if (image == nullptr) return in_hexadecimal(address);
  const std::uint64_t offset = address - image->base;
  const std::string_view symbol = symbols_.try_emplace(image->path, image->path).first->second.find(offset);
  if (symbol.empty()) {
    const std::string file = image->path.substr(image->path.rfind('/') + 1);
    return make_printable(file + '+' + in_hexadecimal(offset));
  }
  std::string name = name_construct(symbol);
  if (!name.empty()) return name;
  return around == 0 ? make_printable(symbol) : at(around).name;
}

const loaded_image* code_sites::find_image(std::uint64_t address, std::uint64_t now) {
  const auto holds = [address](const loaded_image& image) { return image.holds(address); };
  auto image = std::find_if(images_.begin(), images_.end(), holds);
  if (image == images_.end()) {
    // Readers take the first line that holds an address and is not too late for it, so what came where
    // something else was before goes in front.
    std::string added;
    for (const loaded_image& loaded : find_loaded_images()) {
      if (std::any_of(images_.begin(), images_.end(), [&loaded](const loaded_image& other) {
            return other.path == loaded.path && other.base == loaded.base;
          })) {
        continue;
      }
      images_.push_back(loaded);
      added += describe_image(loaded, now);
    }
    list_.insert(0, added);
    if (!added.empty()) write_list_(list_);
    image = std::find_if(images_.begin(), images_.end(), holds);
  }
  return image == images_.end() ? nullptr : &*image;
}

}  // namespace kzr
