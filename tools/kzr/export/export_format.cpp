#include "kzr/export/export_format.h"

#include <algorithm>
#include <array>

#include "kzr/export/perfetto_export.h"
#include "kzr/export/speedscope_export.h"

namespace {

constexpr std::array table = {
    export_format{.name = "perfetto",
                  .suffix = "pftrace",
                  .readers = "Perfetto UI, its trace processor",
                  .write_stream = write_perfetto,
                  .is_compressed_by_name = true},
    export_format{.name = "speedscope",
                  .suffix = "speedscope.json",
                  .readers = "speedscope",
                  .write_stream = write_speedscope},
};

}  // namespace

std::span<const export_format> export_formats() { return table; }

const export_format* find_export_format(std::string_view name) {
  const auto found = std::ranges::find(export_formats(), name, &export_format::name);
  return found == export_formats().end() ? nullptr : &*found;
}
