#pragma once

#include <string>

/// Has the desktop open a file with what it opens such files with, mostly a browser, and does not wait for
/// it. Returns why that did not work; empty when it was started.
[[nodiscard]] std::string open_on_desktop(const std::string& path);
