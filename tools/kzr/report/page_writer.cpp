#include "kzr/report/page_writer.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kzr/report/base64.h"
#include "kzr/report/packed_part.h"
#include "kzr/report/page_graph.h"
#include "kzr/report/page_nodes.h"
#include "kzr/report/page_text.h"
#include "kzr/report/run_report.h"

namespace {

class page_writer {
 public:
  page_writer(const run_report& report, const page_sink& out)
      : report_(report), nodes_(report), plan_(plan_page(report)), out_(out) {}

  page_detail write() {
    const begin_order order(report_.executions);
    const time_pyramid pyramid = build_pyramid(report_.executions, order, plan_);
    add_part("nodes", make_page_nodes(report_, nodes_));
    add_part("graph", make_page_graph(report_).dump());
    add_part("links", make_page_links(report_, nodes_));
    const page_detail detail{report_.executions.size(), 0};
    run_ = make_page_run(report_, nodes_, plan_, pyramid.levels.front(), detail);
    write_html();
    return detail;
  }

 private:
  struct part {
    std::string name;
    std::string packed;
  };

  void add_part(std::string name, std::string_view text) { parts_.push_back({std::move(name), pack(text)}); }

  /// Writes the page with its marks replaced.
  void write_html() {
    std::string_view rest = page_text::html();
    while (!rest.empty()) {
      const std::size_t mark = std::min(rest.find('@'), rest.size());
      out_(rest.substr(0, mark));
      rest.remove_prefix(mark);
      const std::size_t end = rest.find('@', 1);
      if (end != std::string_view::npos && write_mark(rest.substr(1, end - 1))) {
        rest.remove_prefix(end + 1);
      } else if (!rest.empty()) {
        out_("@");
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
      if (name == mark) return out_(text), true;
    }
    for (const auto& [mark, hash] : hashes) {
      if (name == mark) return out_(base64(bytes_of_hex(hash))), true;
    }
    return false;
  }

  void write_part(const part& written) {
    constexpr std::size_t piece = std::size_t{3} * 256 * 1024;  // of whole groups of base64
    out_("<script type=\"application/octet-stream\" data-part=\"" + written.name + "\">");
    for (std::size_t at = 0; at < written.packed.size(); at += piece) {
      out_(base64(std::string_view(written.packed).substr(at, piece)));
    }
    out_("</script>\n");
  }

  const run_report& report_;
  page_nodes nodes_;
  pyramid_plan plan_;
  const page_sink& out_;
  std::string run_;
  std::vector<part> parts_;
};

}  // namespace

page_detail write_page(const run_report& report, std::uint64_t max_bytes, const page_sink& out) {
  static_cast<void>(max_bytes);
  return page_writer(report, out).write();
}
