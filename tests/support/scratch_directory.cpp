#include "support/scratch_directory.h"

#include <stdlib.h>

#include <cerrno>
#include <string>
#include <system_error>

scratch_directory::scratch_directory() {
  std::string name = std::filesystem::temp_directory_path() / "kzr2xml_test_XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
}

scratch_directory::~scratch_directory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}
