#pragma once

#include <string>
#include <vector>

class graph_symbol;

/// One GraphML document of a run.
struct graphml_file {
  std::string name;                   ///< of the file, without extension
  std::vector<graph_symbol*> graphs;  ///< in the order of the document
};
