#include "common/kzr_assert.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>

void kzr_fail(const std::string& message) {
  std::cerr << message << '\n';
  std::cerr.flush();
  std::cout.flush();
  std::fflush(nullptr);
  std::abort();
}

void KZR_ASSERT(bool condition, const std::string& message) {
  if (!condition) kzr_fail(message);
}
