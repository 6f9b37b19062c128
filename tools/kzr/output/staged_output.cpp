#include "kzr/output/staged_output.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "kzr/output/byte_sink.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* exists_already = "it exists already";

std::string folder_of(const std::string& place) {
  const std::string parent = fs::path(place).parent_path().string();
  return parent.empty() ? "." : parent;
}

/// What a link leads to takes its place, not the link.
std::string without_links(std::string place) {
  while (place.size() > 1 && place.ends_with('/')) place.pop_back();
  std::error_code failure;
  if (!fs::is_symlink(place, failure)) return place;
  const fs::path target = fs::weakly_canonical(place, failure);
  return failure ? std::move(place) : target.string();
}

}  // namespace

staged_output::staged_output(std::string place, existing_output existing)
    : place_(without_links(std::move(place))),
      existing_(existing),
      folder_(folder_of(place_) + "/.kzr-export-XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) throw system_error_as_output_error(errno);
}

staged_output::~staged_output() {
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void staged_output::move_to_place() {
  std::error_code ignored;
  // An empty folder would be replaced.
  if (existing_ == existing_output::refused && fs::exists(fs::symlink_status(place_, ignored))) {
    throw output_error(exists_already);
  }
  // Who may read it stays as it was.
  const fs::file_status found = fs::status(place_, ignored);
  if (fs::is_regular_file(found)) fs::permissions(path(), found.permissions(), ignored);
  if (std::rename(path().c_str(), place_.c_str()) != 0) throw system_error_as_output_error(errno);
}

std::string explain_unusable_place(const std::string& place, existing_output existing) {
  std::error_code ignored;
  const fs::file_status found = fs::symlink_status(place, ignored);
  if (existing == existing_output::refused && fs::exists(found)) return exists_already;
  const bool may_be_folder = existing == existing_output::refused;
  if (fs::is_directory(place, ignored) || (place.ends_with('/') && !may_be_folder)) {
    return "it is the name of a folder";
  }
  const std::string folder = folder_of(without_links(place));
  if (!fs::is_directory(folder, ignored)) return "there is no folder " + folder;
  if (access(folder.c_str(), W_OK | X_OK) != 0) return std::generic_category().message(errno);
  return {};
}
