#include "kzr/export/sqlite_export.h"

#include <sqlite3.h>

#include <cerrno>
#include <charconv>
#include <memory>
#include <new>
#include <string_view>

#include "kzr/export/escaped_text.h"
#include "kzr/export/exported_run.h"
#include "kzr/export/run_tables.h"
#include "kzr/export/table_sink.h"
#include "kzr/output/byte_sink.h"
#include "kzr/output/output_watch.h"

namespace {

// Nobody else sees the file before it is whole, and it is removed where it is not.
constexpr const char* begin_statements = R"(
PRAGMA journal_mode = OFF;
PRAGMA synchronous = OFF;
PRAGMA locking_mode = EXCLUSIVE;
PRAGMA cache_size = -32768;
PRAGMA user_version = 1;
BEGIN;
)";

// Behind the last row, since it is faster to sort than to insert in order.
constexpr const char* end_statements = R"(
CREATE INDEX execution_by_node ON execution (node, begin);
CREATE INDEX execution_by_thread ON execution (thread, begin);
CREATE INDEX execution_by_duration ON execution (end - begin);

CREATE VIEW run_figures AS
SELECT name, frequency, makespan_ticks, threads, executions, average_parallelism, utilisation, imbalance,
       path_rest_ticks, damaged_files, (SELECT count(*) FROM warning) AS warnings, converter_end
FROM run;

CREATE VIEW thread_figures AS
SELECT id AS thread, executions, busy_ticks, first_begin, last_end FROM thread WHERE executions > 0 ORDER BY id;

CREATE VIEW node_figures AS
SELECT id, name, executions, threads, total_ticks, self_ticks, min_ticks, mean_ticks, p50_ticks, p90_ticks,
       p99_ticks, max_ticks, first_begin, last_end, idle_share_ticks, "function", source
FROM node WHERE graph IS NOT NULL OR executions > 0 ORDER BY id;

-- A thread is busy while its innermost execution is no barrier: as long as its outermost ones last, less the
-- barriers in them, plus what is nested in barriers.
CREATE VIEW concurrency AS
WITH RECURSIVE
barrier AS (SELECT * FROM execution WHERE node = 'omp_barrier'),
span(begin, end, busy) AS (
  SELECT begin, end, node <> 'omp_barrier' FROM execution WHERE depth = 0
  UNION ALL SELECT begin, end, -1 FROM barrier WHERE depth > 0
  UNION ALL SELECT inner.begin, inner.end, 1
            FROM barrier CROSS JOIN execution AS inner
            ON inner.thread = barrier.thread AND inner.begin BETWEEN barrier.begin AND barrier.end
               AND inner.end <= barrier.end AND inner.depth = barrier.depth + 1),
change(time, busy) AS (
  SELECT time, sum(busy) FROM (SELECT begin AS time, busy FROM span UNION ALL SELECT end, -busy FROM span)
  GROUP BY time),
step(busy_threads, ticks) AS (
  SELECT sum(busy) OVER (ORDER BY time), lead(time) OVER (ORDER BY time) - time FROM change),
number(busy_threads) AS (
  SELECT 0 UNION ALL SELECT busy_threads + 1 FROM number WHERE busy_threads < (SELECT threads FROM run))
SELECT number.busy_threads, coalesce(sum(ticks), 0) AS ticks
FROM number LEFT JOIN step ON step.busy_threads = number.busy_threads
GROUP BY number.busy_threads;

COMMIT;
)";

struct database_closer {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
struct statement_closer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

/// Puts one value after the other into a statement.
class cell_binder {
 public:
  explicit cell_binder(sqlite3_stmt* statement) : statement_(statement) {}

  void operator()(std::monostate) { sqlite3_bind_null(statement_, ++column_); }
  void operator()(std::int64_t number) { sqlite3_bind_int64(statement_, ++column_, number); }
  void operator()(double number) { sqlite3_bind_double(statement_, ++column_, number); }
  void operator()(tick_sum number) {
    // A whole number has 63 bits; what is greater becomes the nearest fractional one.
    if (number > INT64_MAX) return (*this)(static_cast<double>(number));
    (*this)(static_cast<std::int64_t>(number));
  }
  void operator()(thousandths_cell number) {
    // By way of its digits, so that it is the number that readers of the report get.
    const std::string digits = thousandths_text(number.thousandths);
    double nearest = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), nearest);
    (*this)(nearest);
  }
  void operator()(std::string_view text) {
    const std::string storable = storable_text(text);
    size_bytes_ += storable.size();
    sqlite3_bind_text64(statement_, ++column_, storable.data(), storable.size(), SQLITE_TRANSIENT,
                        SQLITE_UTF8);
  }

  /// How much room the values take, roughly.
  [[nodiscard]] std::uint64_t size_bytes() const {
    constexpr std::uint64_t bytes_per_number = 4;
    return size_bytes_ + bytes_per_number * static_cast<std::uint64_t>(column_);
  }

 private:
  sqlite3_stmt* statement_;
  int column_ = 0;
  std::uint64_t size_bytes_ = 0;
};

class sqlite_file : public table_sink {
 public:
  sqlite_file(const exported_run& run, const std::string& path) : watch_(run.watch) {
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(path.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    database_.reset(opened);
    if (opened == nullptr) throw std::bad_alloc();
    check(result);
    constexpr int steps_between_looks = 100'000;
    sqlite3_progress_handler(opened, steps_between_looks, is_interrupted, &watch_);
    execute(begin_statements);
  }

  void begin(const table_form& table) override {
    std::string create = std::string("CREATE TABLE \"") + table.name + "\" (";
    std::string insert = std::string("INSERT INTO \"") + table.name + "\" VALUES (";
    const char* separator = "";
    for (const table_column& column : table.columns) {
      create += std::string(separator) + '"' + column.name + "\" " + column.declaration;
      insert += std::string(separator) + '?';
      separator = ", ";
    }
    if (table.primary_key != nullptr) create += std::string(", PRIMARY KEY (") + table.primary_key + ')';
    execute((create + ')').c_str());
    sqlite3_stmt* prepared = nullptr;
    check(sqlite3_prepare_v2(database_.get(), (insert + ')').c_str(), -1, &prepared, nullptr));
    insert_.reset(prepared);
  }

  void add_row(std::span<const cell> row) override {
    cell_binder binder(insert_.get());
    for (const cell& value : row) std::visit([&binder](const auto& known) { binder(known); }, value);
    sqlite3_step(insert_.get());
    check(sqlite3_reset(insert_.get()));
    held_bytes_ += binder.size_bytes();
    constexpr std::uint64_t told_bytes = 256 * 1024;
    if (held_bytes_ < told_bytes) return;
    watch_.advance(held_bytes_);
    held_bytes_ = 0;
  }

  void end() override { insert_.reset(); }

  /// Completes the database; once, behind the last table.
  void close() {
    execute(end_statements);
    check(sqlite3_close(database_.release()));
  }

 private:
  static int is_interrupted(void* watch) {
    try {
      static_cast<output_watch*>(watch)->advance(0);
    } catch (const interruption&) {
      return 1;
    }
    return 0;
  }

  void execute(const char* statements) {
    check(sqlite3_exec(database_.get(), statements, nullptr, nullptr, nullptr));
  }

  void check(int result) {
    // The library keeps the system's reason for some of its calls only.
    const int system_error = result == SQLITE_FULL ? ENOSPC : errno;
    if (result == SQLITE_OK) return;
    if (result == SQLITE_NOMEM) throw std::bad_alloc();
    // Throws where the end was asked for.
    watch_.advance(0);
    const bool is_of_system = result == SQLITE_IOERR || result == SQLITE_CANTOPEN || result == SQLITE_FULL;
    if (is_of_system && system_error != 0) throw system_error_as_output_error(system_error);
    throw output_error(sqlite3_errmsg(database_.get()));
  }

  output_watch& watch_;
  std::unique_ptr<sqlite3, database_closer> database_;
  std::unique_ptr<sqlite3_stmt, statement_closer> insert_;
  std::uint64_t held_bytes_ = 0;
};

}  // namespace

void write_sqlite(const exported_run& run, const std::string& path) {
  sqlite_file file(run, path);
  write_run_tables(run.report, file);
  file.close();
}
