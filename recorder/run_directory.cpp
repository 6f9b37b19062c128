#include "recorder/run_directory.h"

#include <ctime>
#include <string>
#include <string_view>

namespace kzr {

namespace fs = std::filesystem;

fs::path create_run_directory(const fs::path& parent) {
  for (std::time_t second = std::time(nullptr);; ++second) {
    std::tm local{};
    localtime_r(&second, &local);
    char name[32];
    const std::size_t length = std::strftime(name, sizeof name, "_qzd_%Y%m%d_%H%M%S", &local);
    fs::path directory = parent / std::string_view(name, length);
    if (fs::create_directories(directory)) return directory;
  }
}

fs::path path_with_name(const fs::path& directory) {
  const auto without_slash = [](const fs::path& path) { return (path / "").parent_path(); };
  fs::path path = without_slash(directory);
  if (path.filename() != "." && path.filename() != "..") return path;
  return without_slash(fs::weakly_canonical(fs::absolute(path)));
}

}  // namespace kzr
