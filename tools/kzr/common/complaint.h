#pragma once

#include <string_view>

/// Tells the user on standard error, after the program's name, what went wrong.
void complain(std::string_view message);
