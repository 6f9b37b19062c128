#include "kzr/record/openmp_runtime.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "recorder/elf_file.h"

namespace fs = std::filesystem;

namespace {

/// The file that a name of a program means for the system.
std::string find_program(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  const char* const directories = std::getenv("PATH");
  std::istringstream list(directories == nullptr ? "/bin:/usr/bin" : directories);
  for (std::string directory; std::getline(list, directory, ':');) {
    const fs::path candidate = fs::path(directory.empty() ? "." : directory) / name;
    if (access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return name;
}

}  // namespace

std::optional<fs::path> find_llvm_runtime() {
  for (const char* const name : {"libomp.so.5", "libomp.so"}) {
    void* const library = dlopen(name, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) continue;
    std::optional<fs::path> path;
    const link_map* map = nullptr;
    if (dlinfo(library, RTLD_DI_LINKMAP, &map) == 0) path = map->l_name;
    dlclose(library);
    if (path) return path;
  }
  return std::nullopt;
}

fs::path find_recording_library() {
  const fs::path here = fs::read_symlink("/proc/self/exe").parent_path();
  for (const char* const place : {KZR_OMPT_WHEN_BUILT, KZR_OMPT_WHEN_INSTALLED}) {
    fs::path library = (here / place).lexically_normal();
    if (fs::exists(library)) return library;
  }
  throw std::runtime_error("libkzr_ompt.so is not there; it is built where LLVM's OpenMP headers are");
}

bool asks_for_llvm_runtime(const std::string& program) {
  const std::vector<std::string> needed = kzr::find_needed_libraries(find_program(program));
  return std::any_of(needed.begin(), needed.end(), [](const std::string_view library) {
    return library.starts_with("libomp.so") || library.starts_with("libiomp5.so");
  });
}
