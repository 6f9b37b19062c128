#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class graph_symbol;
class kzr_data_manager;

/// One GraphML document: its name and the graphs it holds, which it shares with the data manager's list of
/// symbols. Graphs first, then post_process(), then write(). The data manager owns all files of a run.
class graphml_file {
 public:
  /// An empty file with the base name `name`, without extension.
  explicit graphml_file(const std::string& name) : name_(name) {}
  virtual ~graphml_file() = default;

  /// Puts `graph` behind the graphs that the file holds already.
  void add_graph(std::shared_ptr<graph_symbol> graph) { graphs_.push_back(std::move(graph)); }
  /// Completes the inner graphs of the composite nodes of every graph, which may append files to `dm`.
  void post_process(kzr_data_manager* dm);
  /// Writes the whole document.
  void dump_as_graphml(kzr_data_manager& dm, std::ostream& os);
  /// Writes what stands before the graphs: declaration, comment, root element and keys.
  void dump_header(kzr_data_manager& dm, std::ostream& os);
  /// Writes what stands behind the graphs.
  void dump_footer(kzr_data_manager& dm, std::ostream& os);
  /// Writes the document to the file `<name>.graphml` in the working directory, in place of what was there. A
  /// file that cannot be written is not reported.
  void write(kzr_data_manager& dm);

  /// Base name of the file, without extension.
  [[nodiscard]] const std::string& name() const { return name_; }
  /// The graphs in the order in which they were added, which is that of the document.
  [[nodiscard]] const std::vector<std::shared_ptr<graph_symbol>>& graphs() const { return graphs_; }

 private:
  std::string name_;
  std::vector<std::shared_ptr<graph_symbol>> graphs_;
};
