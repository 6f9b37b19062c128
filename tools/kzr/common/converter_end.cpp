#include "kzr/common/converter_end.h"

#include "common/kzr_assert.h"

// Takes the place of the converter's fatal check.
void kzr_fail(const std::string& message) { throw converter_end(message); }

void KZR_ASSERT(bool condition, const std::string& message) {
  if (!condition) kzr_fail(message);
}
