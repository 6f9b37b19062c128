#include "kzr/common/complaint.h"

#include <cstdio>

#include "kzr/common/printable.h"

void complain(std::string_view message) { std::fprintf(stderr, "kzr: %s\n", printable(message).c_str()); }
