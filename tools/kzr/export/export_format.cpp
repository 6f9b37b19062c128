#include "kzr/export/export_format.h"

#include <algorithm>
#include <array>

#include "kzr/export/csv_export.h"
#include "kzr/export/dot_export.h"
#include "kzr/export/graphml_export.h"
#include "kzr/export/perfetto_export.h"
#include "kzr/export/speedscope_export.h"
#include "kzr/export/sqlite_export.h"

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
    export_format{.name = "graphml",
                  .suffix = "graphml",
                  .readers = "NetworkX, igraph, Gephi, yEd",
                  .write_stream = write_graphml},
    export_format{.name = "dot", .suffix = "dot", .readers = "Graphviz dot", .write_stream = write_dot},
    export_format{.name = "sqlite",
                  .suffix = "db",
                  .readers = "sqlite3, DuckDB, Datasette, pandas",
                  .write_path = write_sqlite,
                  .needs_begin_order = true},
    export_format{.name = "csv",
                  .suffix = "csv.d",
                  .readers = "pandas, DuckDB, Spark, spreadsheets",
                  .write_path = write_csv,
                  .is_folder = true,
                  .needs_begin_order = true},
};

}  // namespace

std::span<const export_format> export_formats() { return table; }

const export_format* find_export_format(std::string_view name) {
  const auto found = std::ranges::find(export_formats(), name, &export_format::name);
  return found == export_formats().end() ? nullptr : &*found;
}
