#pragma once

#include <cstdint>

/// Starts to fetch the line of memory at `address`, valid or not, into the caches and returns at once: for
/// what is certain to be read soon.
inline void prefetch(const void* address) {
  __builtin_prefetch(address);
  // A function that does nothing but fetch counts as one without effects, whose calls the compiler leaves
  // out.
  asm volatile("");
}

/// The same for two lines, as most objects lie in two.
inline void prefetch_two_lines(const void* address) {
  constexpr std::uintptr_t line_bytes = 64;
  prefetch(address);
  // By numbers, because the second line may lie behind the object.
  const std::uintptr_t second = reinterpret_cast<std::uintptr_t>(address) + line_bytes;
  prefetch(reinterpret_cast<const void*>(second));  // NOLINT(performance-no-int-to-ptr)
}
