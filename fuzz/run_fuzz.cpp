// Whole runs: several trace files, list of images and option go through merge, processor and both writers.
// The outputs land in a scratch directory, on a memory file system where there is one.

#include <filesystem>
#include <fstream>
#include <string>

#include "driver/conversion.h"
#include "fuzz/expected_end.h"
#include "fuzz/run_input.h"

namespace {

namespace fs = std::filesystem;

class scratch_run_directory {
 public:
  scratch_run_directory() {
    const fs::path base = fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string name = (base / "kzr_fuzz_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
  }
  scratch_run_directory(const scratch_run_directory&) = delete;
  scratch_run_directory& operator=(const scratch_run_directory&) = delete;
  ~scratch_run_directory() { fs::remove_all(path_); }

  void empty() const {
    for (const auto& entry : fs::directory_iterator(path_)) fs::remove(entry.path());
  }
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void write_file(const fs::path& path, const std::string& bytes) { std::ofstream(path) << bytes; }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const scratch_run_directory scratch;
  scratch.empty();
  const run_input run = run_input::parse({reinterpret_cast<const char*>(data), size});
  for (std::size_t n = 0; n < run.trace_files.size(); ++n) {
    write_file(scratch.path() / ("_kzr." + std::to_string(n)), run.trace_files[n]);
  }
  if (run.has_results_directory) {
    write_file(scratch.path() / "imageload.csv", run.image_list);
    setenv("QZD_DIR", scratch.path().c_str(), 1);
  } else {
    unsetenv("QZD_DIR");
  }
  allow_expected_end([&run] {
    convert({.trace_stem = (scratch.path() / "_kzr").string(),
             .run_name = (scratch.path() / "run").string(),
             .omp_experimental = run.omp_experimental ? 1 : 0});
  });
  return 0;
}
