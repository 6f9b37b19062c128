#include "recorder/image_list.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/scratch_directory.h"

namespace fs = std::filesystem;

namespace {

TEST(image_list, has_whole_paths_of_libraries_that_were_loaded_from_the_working_directory) {
  const scratch_directory scratch;
  const fs::path library = fs::canonical(scratch.path()) / "copy.so";
  const auto loaded = kzr::find_loaded_images();
  const auto original = std::find_if(loaded.begin(), loaded.end(), [](const kzr::loaded_image& image) {
    return image.path.find("/libgcc_s.so") != std::string::npos;
  });
  ASSERT_NE(original, loaded.end());
  fs::copy_file(original->path, library);

  const fs::path before = fs::current_path();
  fs::current_path(scratch.path());
  void* const handle = dlopen("./copy.so", RTLD_LAZY | RTLD_LOCAL);
  fs::current_path(before);
  ASSERT_NE(handle, nullptr) << dlerror();
  const auto images = kzr::find_loaded_images();
  EXPECT_TRUE(std::any_of(images.begin(), images.end(), [&library](const kzr::loaded_image& image) {
    return image.path == library.string();
  }));
  dlclose(handle);
}

}  // namespace
