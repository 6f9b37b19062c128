#pragma once

/// Starts to fetch the line of memory at `address`, valid or not, into the caches and returns at once: for
/// what is certain to be read soon.
inline void prefetch(const void* address) {
  __builtin_prefetch(address);
  // A function that does nothing but fetch counts as one without effects, whose calls the compiler leaves
  // out.
  asm volatile("");
}
