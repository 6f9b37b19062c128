#include "model/handle_texts.h"

const char* handle_texts::text(std::uint64_t handle) {
  const char* const own = handles_.own_text(next_own_text_);
  if (own == nullptr || reinterpret_cast<std::uintptr_t>(own) != handle) return handles_.text(handle);
  ++next_own_text_;
  return own;
}
