#include "kzr/record/recorded_runs.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include "recorder/run_directory.h"

namespace fs = std::filesystem;

namespace {

recorded_process describe(const fs::path& directory) {
  recorded_process run{.directory = directory};
  std::error_code failure;  // the program may have done anything to it
  for (const fs::directory_entry& file : fs::directory_iterator(directory, failure)) {
    if (!file.path().filename().string().starts_with("_kzr.")) continue;
    ++run.threads;
    const std::uintmax_t size_bytes = file.file_size(failure);
    if (!failure) run.size_bytes += size_bytes;
  }
  bool has_gcc = false;
  bool has_llvm = false;
  std::ifstream images(directory / "imageload.csv");
  for (std::string line; std::getline(images, line);) {
    has_gcc = has_gcc || line.find("/libgomp.so") != std::string::npos;
    has_llvm = has_llvm || line.find("/libomp.so") != std::string::npos;
  }
  run.replaced_runtime = has_gcc && has_llvm;
  return run;
}

}  // namespace

recorded_runs::recorded_runs(const fs::path& directory) : directory_(kzr::path_with_name(directory)) {
  if (directory.empty()) {
    directory_ = kzr::create_run_directory(".").filename();
    made_here_.push_back(directory_);
  } else {
    for (fs::path path = directory_; !path.empty() && !fs::exists(path); path = path.parent_path()) {
      made_here_.push_back(path);
    }
    fs::create_directories(directory_);
    if (!fs::is_empty(directory_)) throw std::runtime_error(directory.string() + " is not empty");
  }
  further_before_ = find_further();
}

std::set<fs::path> recorded_runs::find_further() const {
  std::set<fs::path> further;
  for (unsigned number = 2;; ++number) {
    fs::path directory = directory_.string() + '.' + std::to_string(number);
    if (!fs::exists(directory)) return further;
    further.insert(std::move(directory));
  }
}

std::vector<recorded_process> recorded_runs::collect() const {
  std::vector<recorded_process> runs;
  runs.push_back(describe(directory_));
  for (const fs::path& directory : find_further()) {
    if (!further_before_.contains(directory)) runs.push_back(describe(directory));
  }
  std::erase_if(runs, [](const recorded_process& run) { return run.threads == 0; });
  // Removes only what is empty.
  std::error_code is_not_empty;
  for (const fs::path& path : made_here_) fs::remove(path, is_not_empty);
  return runs;
}
