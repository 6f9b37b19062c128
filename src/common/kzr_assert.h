#pragma once

#include <string>

/// The program's fatal check: when `condition` is false it writes `message` and a newline to standard error,
/// flushes all output streams and aborts. For broken promises and unreadable input, never for trace content.
void KZR_ASSERT(bool condition, const std::string& message);

/// The same, for callers that must not build the text of a message unless it is needed.
[[noreturn]] void kzr_fail(const std::string& message);
