# Compiler flags that every target of this project shares, as one interface target.
add_library(kzr_build_flags INTERFACE)
target_compile_options(kzr_build_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlaps in its own std::string where there are none.
  target_compile_options(kzr_build_flags INTERFACE -Wno-restrict)
endif()
if(KZR_WERROR)
  target_compile_options(kzr_build_flags INTERFACE -Werror)
endif()
if(KZR_SANITIZE)
  target_compile_options(kzr_build_flags INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all
                                                   -fno-omit-frame-pointer -g)
  target_link_options(kzr_build_flags INTERFACE -fsanitize=address,undefined)
endif()
if(KZR_COVERAGE)
  target_compile_options(kzr_build_flags INTERFACE --coverage -O0 -g)
  target_link_options(kzr_build_flags INTERFACE --coverage)
endif()
if(KZR_FUZZ)
  target_compile_options(kzr_build_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                                                   -fno-omit-frame-pointer -g)
  target_link_options(kzr_build_flags INTERFACE -fsanitize=address,undefined)
endif()
