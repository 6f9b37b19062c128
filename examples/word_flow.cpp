// Counts the words of the texts on this machine with a data-flow graph on several threads, and records the
// run.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "examples/flow_graph.h"

namespace fs = std::filesystem;

namespace flow {

/// A piece of text on its way through the graph, and what was found in it.
struct passage {
  std::string text;
  std::vector<std::string> words;
  std::map<std::string, std::size_t> counts;
  std::size_t longest = 0;  ///< letters of the longest word
  std::vector<std::pair<std::string, std::size_t>> top;
  bool holds_place = true;  ///< takes one of the limiter's places
};

/// What the bodies share. The source alone touches the first part, the serial merge alone the second.
struct application {
  std::vector<std::string> texts;
  std::size_t passages_to_read = 0;
  std::size_t passages_read = 0;

  std::map<std::string, std::size_t> totals;
  std::size_t longest = 0;
  std::size_t passages_merged = 0;
};

}  // namespace flow

namespace {

using flow::application;
using flow::emitter;
using flow::flow_graph;
using flow::message;
using flow::passage;

constexpr std::size_t passage_bytes = 4096;
constexpr std::size_t rich_passage_words = 300;
constexpr std::string_view fallback_text =
    "A stream of words runs through the graph. Each node does its share of the work and hands the rest on; "
    "what is too long goes back to be cut in half, and what is done makes room for what waits at the gate. ";

struct options {
  kzr::trace_form form = kzr::trace_form::binary;
  unsigned threads = 4;
  std::size_t passages = 400;
  std::vector<fs::path> sources;
};

std::optional<unsigned> read_number(std::string_view text) {
  unsigned number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size() || number == 0) return std::nullopt;
  return number;
}

std::optional<options> read_options(int argc, char** argv) {
  options chosen;
  for (int index = 1; index < argc; ++index) {
    const std::string_view word = argv[index];
    if (word == "--xml") {
      chosen.form = kzr::trace_form::xml;
    } else if (word == "--threads" || word == "--passages") {
      const std::optional<unsigned> number = index + 1 < argc ? read_number(argv[++index]) : std::nullopt;
      if (!number) return std::nullopt;
      if (word == "--threads") {
        chosen.threads = *number;
      } else {
        chosen.passages = *number;
      }
    } else if (word.starts_with('-')) {
      return std::nullopt;
    } else {
      chosen.sources.emplace_back(word);
    }
  }
  if (chosen.sources.empty()) chosen.sources = {"/usr/share/common-licenses", "/usr/share/doc"};
  return chosen;
}

/// Cuts the text files below `sources` into passages, `wanted` at most. What is no text is left out.
std::vector<std::string> find_texts(const std::vector<fs::path>& sources, std::size_t wanted) {
  std::vector<std::string> texts;
  for (const fs::path& source : sources) {
    std::error_code error;
    fs::recursive_directory_iterator entry(source, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
      std::error_code unreadable;
      if (!entry->is_regular_file(unreadable)) continue;
      std::ifstream file(entry->path(), std::ios::binary);
      std::string text(passage_bytes, '\0');
      while (texts.size() < wanted &&
             (file.read(text.data(), static_cast<std::streamsize>(text.size())) || file.gcount() > 0)) {
        text.resize(static_cast<std::size_t>(file.gcount()));
        if (text.find('\0') != std::string::npos || text.starts_with("\x1f\x8b")) break;
        texts.push_back(text);
        text.resize(passage_bytes);
      }
      if (texts.size() >= wanted) return texts;
    }
  }
  if (texts.empty()) texts.emplace_back(fallback_text);
  return texts;
}

void read_passage(application& shared, const message&, const emitter& emit) {
  if (shared.passages_read == shared.passages_to_read) return;
  const std::string& text = shared.texts[shared.passages_read++ % shared.texts.size()];
  auto read = std::make_shared<passage>();
  read->text = text;
  emit(0, {read});
}

void split_words(application&, const message& input, const emitter& emit) {
  passage& at = *input[0];
  std::string word;
  for (const char character : at.text + ' ') {
    const auto byte = static_cast<unsigned char>(character);
    if (std::isalpha(byte) != 0) {
      word += static_cast<char>(std::tolower(byte));
    } else if (!word.empty()) {
      at.words.push_back(std::move(word));
      word.clear();
    }
  }
  emit(0, input);
}

void count_words(application&, const message& input, const emitter& emit) {
  for (const std::string& word : input[0]->words) ++input[0]->counts[word];
  emit(0, input);
}

void measure_words(application&, const message& input, const emitter& emit) {
  // A passage of its own: the counting runs at the same time on the one that came in.
  auto measured = std::make_shared<passage>();
  for (const std::string& word : input[0]->words)
    measured->longest = std::max(measured->longest, word.size());
  emit(0, {measured});
}

void judge(application&, const message& input, const emitter& emit) {
  passage& counted = *input[0];
  // The pair is made in order of arrival; a longest word counts for the run whichever passage it came with.
  counted.longest = std::max(counted.longest, input[1]->longest);
  if (counted.words.size() <= rich_passage_words) {
    emit(0, {input[0]});
    return;
  }
  // Too rich: both halves go back. The second one inherits the place at the limiter.
  const std::size_t middle = counted.text.size() / 2;
  for (const bool second : {false, true}) {
    auto half = std::make_shared<passage>();
    half->text = second ? counted.text.substr(middle) : counted.text.substr(0, middle);
    half->longest = counted.longest;
    half->holds_place = second && counted.holds_place;
    emit(1, {half});
  }
}

void drop_short_words(application&, const message& input, const emitter& emit) {
  std::erase_if(input[0]->counts, [](const auto& entry) { return entry.first.size() < 4; });
  emit(0, input);
}

void rank_words(application&, const message& input, const emitter& emit) {
  passage& at = *input[0];
  at.top.assign(at.counts.begin(), at.counts.end());
  std::ranges::stable_sort(at.top, std::ranges::greater(), [](const auto& entry) { return entry.second; });
  emit(0, input);
}

void keep_top(application&, const message& input, const emitter& emit) {
  passage& at = *input[0];
  at.top.resize(std::min<std::size_t>(at.top.size(), 50));
  emit(0, input);
}

void merge(application& shared, const message& input, const emitter& emit) {
  const passage& done = *input[0];
  for (const auto& [word, count] : done.top) shared.totals[word] += count;
  shared.longest = std::max(shared.longest, done.longest);
  ++shared.passages_merged;
  if (done.holds_place) emit(0, input);
}

void run_word_flow(kzr::trace_recorder& recorder, application& shared, unsigned threads) {
  flow_graph graph(recorder, shared, "word flow");
  flow::node& read = graph.add_source("read", read_passage);
  flow::node& gate = graph.add_limiter("gate", 16);
  flow::node& pending = graph.add_queue("pending");
  flow::node& split = graph.add_function("split", split_words, 0);
  flow::node& count = graph.add_function("count", count_words, 0);
  flow::node& measure = graph.add_function("measure", measure_words, 2);
  flow::node& pair = graph.add_join("pair", 2);
  flow::node& judging = graph.add_function("judge", judge, 1, 2);
  flow::node& drop = graph.add_function("drop short words", drop_short_words, 0);
  flow::node& rank = graph.add_function("rank", rank_words, 0);
  flow::node& keep = graph.add_function("keep top", keep_top, 0);
  flow::node& merging = graph.add_function("merge", merge, 1);

  flow::composite digest = graph.add_composite("digest");
  flow::composite ranking = graph.add_composite("ranking");
  graph.put_inside(digest, drop.id);
  graph.put_inside(digest, ranking.id);
  graph.put_inside(ranking, rank.id);
  graph.put_inside(ranking, keep.id);
  graph.show_input(ranking, rank, 0);
  graph.show_output(ranking, keep, 0);
  graph.show_input(digest, drop, 0);
  graph.show_output(digest, keep, 0);

  graph.connect(read, 0, gate, 0);
  graph.connect(gate, 0, pending, 0);
  graph.connect(pending, 0, split, 0);
  graph.connect(split, 0, count, 0);
  graph.connect(split, 0, measure, 0);
  graph.connect(count, 0, pair, 0);
  graph.connect(measure, 0, pair, 1);
  graph.connect(pair, 0, judging, 0);
  graph.connect(judging, 0, drop, 0);
  graph.connect(judging, 1, pending, 0);
  graph.connect(drop, 0, rank, 0);
  graph.connect(rank, 0, keep, 0);
  graph.connect(keep, 0, merging, 0);
  graph.connect(merging, 0, gate, 1);

  graph.remark("graph complete");
  graph.run(threads);
  graph.remark("all passages counted");
  graph.disconnect(read, 0, gate, 0);

  std::printf("%llu tasks on %u threads, %zu passages after cutting, longest word of %zu letters\n",
              static_cast<unsigned long long>(graph.task_count()), threads, shared.passages_merged,
              shared.longest);
}

void print_top_words(const application& shared) {
  std::vector<std::pair<std::size_t, std::string>> words;
  for (const auto& [word, count] : shared.totals) words.emplace_back(count, word);
  std::ranges::sort(words, std::greater());
  words.resize(std::min<std::size_t>(words.size(), 5));
  for (const auto& [count, word] : words) std::printf("%8zu %s\n", count, word.c_str());
}

}  // namespace

int main(int argc, char** argv) {
  const std::optional<options> chosen = read_options(argc, argv);
  if (!chosen) {
    std::fprintf(stderr, "usage: word_flow [--xml] [--threads N] [--passages N] [directory of texts]...\n");
    return 2;
  }
  application shared;
  shared.texts = find_texts(chosen->sources, chosen->passages);
  shared.passages_to_read = chosen->passages;

  kzr::trace_recorder recorder(chosen->form);
  recorder.write_image_list();
  run_word_flow(recorder, shared, chosen->threads);
  print_top_words(shared);
  if (recorder.failed()) {
    std::fprintf(stderr, "word_flow: the recording in %s is not complete\n", recorder.directory().c_str());
    return 1;
  }
  std::printf("recorded in %s\n", recorder.directory().c_str());
  return 0;
}
