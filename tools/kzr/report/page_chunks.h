#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "analysis/begin_order.h"
#include "kzr/report/lane_blocks.h"

class packed_part;
class page_nodes;
struct pyramid_plan;
struct run_report;

/// The executions of a run, packed: what the parts `index` and `chunk-N` of the page are made of.
class page_chunks {
 public:
  /// Hears of so many executions more that were packed.
  using progress = std::function<void(std::uint64_t)>;

  /// Packs all executions. The chunks are small where the page is going to hold a part of them only, so that
  /// many places get some.
  page_chunks(const run_report& report, const begin_order& order, const page_nodes& nodes,
              const pyramid_plan& plan, std::uint64_t max_bytes, const progress& tell);

  /// What all chunks take in the page, which is what `wrapped_size` says of the bytes of each.
  [[nodiscard]] std::uint64_t size_bytes() const;
  /// Leaves out chunks until the others take at most so many bytes of the page. Those with the longest
  /// executions stay first, then some from all over the time of the run.
  void fit_into(std::uint64_t bytes);

  [[nodiscard]] bool holds(std::size_t lane, std::size_t position) const;
  [[nodiscard]] std::uint64_t detailed() const { return detailed_; }
  /// The part `index`.
  [[nodiscard]] std::string make_index() const;
  /// The chunks that are kept, packed.
  [[nodiscard]] std::vector<std::string> take_kept();

 private:
  struct block : lane_blocks::block {
    std::size_t chunk = 0;
    std::size_t offset = 0;
  };
  struct chunk {
    std::string packed;
    std::uint64_t executions = 0;
    std::uint64_t longest = 0;
    bool is_kept = true;
    std::size_t number = 0;  ///< among those that are kept
  };

  void close_chunk(std::unique_ptr<packed_part>& open, const progress& tell);
  void number_kept();

  std::vector<std::vector<block>> lanes_;
  std::vector<chunk> chunks_;
  std::uint64_t detailed_ = 0;
};

/// How many bytes of the page a part takes that was packed into so many.
[[nodiscard]] std::uint64_t wrapped_size(std::uint64_t packed_bytes);
