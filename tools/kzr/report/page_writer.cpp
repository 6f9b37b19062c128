#include "kzr/report/page_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kzr/common/progress_bar.h"
#include "kzr/output/byte_sink.h"
#include "kzr/report/base64.h"
#include "kzr/report/json_text.h"
#include "kzr/report/packed_part.h"
#include "kzr/report/page_chunks.h"
#include "kzr/report/page_graph.h"
#include "kzr/report/page_marks.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/page_path.h"
#include "kzr/report/page_text.h"
#include "kzr/report/run_report.h"

namespace {

/// In memory, of what a chunk is made from.
constexpr std::uint64_t bytes_of_execution = 28;
/// For what does not pack as well as it did without chunks.
constexpr std::uint64_t reserved_bytes = 4096;

class page_writer {
 public:
  page_writer(const run_report& report, std::uint64_t max_bytes, byte_sink& out)
      : report_(report), nodes_(report), plan_(plan_page(report)), max_bytes_(max_bytes), out_(out) {}

  page_detail write() {
    const std::uint64_t executions = report_.executions.size();
    const begin_order order(report_.executions);
    progress_bar progress(executions * bytes_of_execution);
    progress.tell("packing the executions");
    page_chunks chunks(report_, order, nodes_, plan_, max_bytes_,
                       [&progress](std::uint64_t packed) { progress.add(packed * bytes_of_execution); });
    const time_pyramid pyramid = build_pyramid(report_.executions, order, plan_);
    progress.tell("laying out the graph");
    add_part("nodes", make_page_nodes(report_, nodes_));
    add_part("graph", make_page_graph(report_, nodes_.listed()).dump());
    add_part("marks", make_page_marks(report_, nodes_, plan_));
    add_part("path", {});
    add_part("index", {});
    add_part("pyramid", make_pyramid(pyramid));
    add_part("links", make_page_links(report_, nodes_));
    const auto add_dependent = [&] {
      run_ = make_page_run(report_, nodes_, plan_, pyramid.levels.front(), {executions, chunks.detailed()});
      parts_[path_part].packed = pack(make_page_path(report_, order, nodes_, plan_, chunks));
      parts_[index_part].packed = pack(chunks.make_index());
    };
    add_dependent();
    if (size_bytes() + chunks.size_bytes() > max_bytes_) {
      // What these parts say of chunks that are left out takes some room; the fewer they are, the less.
      chunks.fit_into(0);
      add_dependent();
      for (int round = 0; round < 2; ++round) {
        const std::uint64_t others = size_bytes() + reserved_bytes;
        chunks.fit_into(max_bytes_ - std::min(max_bytes_, others));
        add_dependent();
      }
    }
    const page_detail detail{executions, chunks.detailed()};
    for (std::string& packed : chunks.take_kept()) {
      parts_.push_back({"chunk-" + std::to_string(parts_.size() - first_chunk_part), std::move(packed)});
    }
    write_html();
    return detail;
  }

 private:
  enum : std::size_t { path_part = 3, index_part = 4, first_chunk_part = 7 };

  struct part {
    std::string name;
    std::string packed;
  };

  void add_part(std::string name, std::string_view text) { parts_.push_back({std::move(name), pack(text)}); }

  [[nodiscard]] std::uint64_t size_bytes() const {
    std::uint64_t sum = page_text::html().size() + page_text::style().size() + page_text::program().size() +
                        page_text::end().size() + run_.size();
    for (const part& each : parts_) sum += wrapped_size(each.packed.size());
    return sum;
  }

  [[nodiscard]] std::string make_pyramid(const time_pyramid& pyramid) const {
    json_text json;
    json.list("{", "levels");
    for (const time_pyramid::level& level : pyramid.levels) {
      json.raw(&level == &pyramid.levels.front() ? "" : ",");
      json.field("{", "buckets").add(level.buckets).list(",", "lanes");
      for (const time_pyramid::lane& lane : level.lanes) {
        json.list(&lane == &level.lanes.front() ? "{" : ",{", "busy");
        for (const std::uint8_t busy : lane.busy) json.add(busy);
        json.end().list(",", "node");
        for (const std::uint32_t node : lane.node) {
          json.add_signed(node == time_pyramid::no_node ? -1 : std::int64_t{nodes_.number_of(node)});
        }
        json.end().raw("}");
      }
      json.end().raw("}");
    }
    return std::move(json.end().raw("}").text());
  }

  /// Writes the page with its marks replaced.
  void write_html() {
    std::string_view rest = page_text::html();
    while (!rest.empty()) {
      const std::size_t mark = std::min(rest.find('@'), rest.size());
      out_.write(rest.substr(0, mark));
      rest.remove_prefix(mark);
      const std::size_t end = rest.find('@', 1);
      if (end != std::string_view::npos && write_mark(rest.substr(1, end - 1))) {
        rest.remove_prefix(end + 1);
      } else if (!rest.empty()) {
        out_.write("@");
        rest.remove_prefix(1);
      }
    }
  }

  /// False for text that is none.
  bool write_mark(std::string_view name) {
    if (name == "PARTS") {
      for (const part& each : parts_) write_part(each);
      return true;
    }
    const std::pair<std::string_view, std::string_view> texts[] = {{"STYLE", page_text::style()},
                                                                   {"RUN", run_},
                                                                   {"PROGRAM", page_text::program()},
                                                                   {"END", page_text::end()}};
    const std::pair<std::string_view, std::string_view> hashes[] = {
        {"STYLE_HASH", page_text::style_sha256()},
        {"PROGRAM_HASH", page_text::program_sha256()},
        {"END_HASH", page_text::end_sha256()}};
    for (const auto& [mark, text] : texts) {
      if (name == mark) return out_.write(text), true;
    }
    for (const auto& [mark, hash] : hashes) {
      if (name == mark) return out_.write(base64(bytes_of_hex(hash))), true;
    }
    return false;
  }

  void write_part(const part& written) {
    constexpr std::size_t piece = std::size_t{3} * 256 * 1024;  // of whole groups of base64
    out_.write("<script type=\"application/octet-stream\" data-part=\"" + written.name + "\">");
    for (std::size_t at = 0; at < written.packed.size(); at += piece) {
      out_.write(base64(std::string_view(written.packed).substr(at, piece)));
    }
    out_.write("</script>\n");
  }

  const run_report& report_;
  page_nodes nodes_;
  pyramid_plan plan_;
  std::uint64_t max_bytes_;
  byte_sink& out_;
  std::string run_;
  std::vector<part> parts_;
};

}  // namespace

page_detail write_page(const run_report& report, std::uint64_t max_bytes, byte_sink& out) {
  return page_writer(report, max_bytes, out).write();
}
