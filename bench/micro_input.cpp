// What a record costs until it is in the order of time. An item is a record.

#include <benchmark/benchmark.h>

#include <fstream>

#include "bench/scratch_directory.h"
#include "reader/multifile_reader.h"
#include "recorder/trace_encoder.h"
#include "xml/tokenizer.h"

namespace {

using kzr::trace_encoder;
using kzr::trace_form;
using kzr::bench::scratch_directory;

/// Begins and ends of tasks, `step` ticks apart from `start` on.
std::string task_records(trace_form form, int pairs, std::uint64_t start, std::uint64_t step) {
  trace_encoder encoder(form, 2'500'000'000, 8);
  std::uint64_t time = start;
  for (int i = 0; i < pairs; ++i) {
    encoder.at(time += step).task_begin(1, {0x7f3a'1000'0158, 0, 0}, {0x7ffd'3c21'8e40, 0, 0}, 2, 3);
    encoder.at(time += step).task_end(1);
  }
  return encoder.end().take();
}

void write_file(const std::string& name, const std::string& bytes) {
  std::ofstream(name, std::ios::binary) << bytes;
}

void decode_tasks(benchmark::State& state) {
  constexpr int pairs = 50'000;
  const scratch_directory scratch;
  const std::string bytes = task_records(trace_form::binary, pairs, 1, 1'000);
  write_file(scratch.file("t.0"), bytes);
  for ([[maybe_unused]] auto _ : state) {
    text_arena texts;
    const auto reader = trace_reader::create_reader(scratch.file("t"), 0, texts);
    trace_record record;
    while (reader->current_and_advance(record)) benchmark::DoNotOptimize(record.f[1]);
  }
  state.SetItemsProcessed(state.iterations() * pairs * 2);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK(decode_tasks);

void decode_texts(benchmark::State& state) {
  constexpr int count = 50'000;
  const scratch_directory scratch;
  trace_encoder encoder(trace_form::binary, 2'500'000'000, 8);
  for (int i = 0; i < count; ++i) encoder.metadata_string(1, {5, 0, 0}, 2, "a text of some thirty letters");
  write_file(scratch.file("t.0"), encoder.end().bytes());
  for ([[maybe_unused]] auto _ : state) {
    text_arena texts;
    const auto reader = trace_reader::create_reader(scratch.file("t"), 0, texts);
    trace_record record;
    while (reader->current_and_advance(record)) benchmark::DoNotOptimize(record.string);
  }
  state.SetItemsProcessed(state.iterations() * count);
}
BENCHMARK(decode_texts);

/// Decoding and merging; what is more than for one file is the merge.
void merge_files(benchmark::State& state) {
  constexpr int pairs = 64'000;
  const auto files = static_cast<int>(state.range(0));
  const scratch_directory scratch;
  for (int number = 0; number < files; ++number) {
    const auto step = static_cast<std::uint64_t>(files) * 10 + static_cast<std::uint64_t>(number) % 7;
    write_file(scratch.file("t." + std::to_string(number)),
               task_records(trace_form::binary, pairs / files, static_cast<std::uint64_t>(number), step));
  }
  for ([[maybe_unused]] auto _ : state) {
    multifile_reader reader(scratch.file("t"));
    trace_record record;
    while (reader.next_record(record)) benchmark::DoNotOptimize(record.f[1]);
  }
  state.SetItemsProcessed(state.iterations() * (pairs / files) * files * 2);
}
BENCHMARK(merge_files)->Arg(1)->Arg(8)->Arg(64)->Arg(512);

void tokenize(benchmark::State& state) {
  constexpr int pairs = 5'000;
  const scratch_directory scratch;
  const std::string text = task_records(trace_form::xml, pairs, 1, 1'000);
  const std::string name = scratch.file("t.xml");
  write_file(name, text);
  for ([[maybe_unused]] auto _ : state) {
    xml::tokenizer tokens(name.c_str());
    char buffer[256];
    int token = 0;
    do {
      token = tokens.next_token(buffer, sizeof buffer);
      // A number or text is no token: its end tag ends it.
      if (token == xml::tokenizer::tag_end && tokens.look_ahead() != '<')
        tokens.get_text(buffer, sizeof buffer);
    } while (token != xml::tokenizer::end_of_input);
  }
  state.SetItemsProcessed(state.iterations() * pairs * 2);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(tokenize);

}  // namespace
