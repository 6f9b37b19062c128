#include "kzr/report/packed_part.h"

#include <array>
#include <limits>
#include <stdexcept>
#include <utility>

namespace {
constexpr int level = 6;
constexpr int strategy = Z_DEFAULT_STRATEGY;
}  // namespace

packed_part::packed_part() {
  if (deflateInit(&stream_, level) != Z_OK) throw std::runtime_error("no memory for packing the page");
}

packed_part::~packed_part() { deflateEnd(&stream_); }

void packed_part::append_other(std::string_view bytes, repetition repeats) {
  // A table of codes takes about so many bytes that it has to be made for more than that.
  constexpr std::size_t least = 512;
  if (bytes.size() >= least) {
    run(Z_BLOCK);
    if (std::exchange(repeats_, repeats) != repeats) {
      deflateParams(&stream_, level, repeats == repetition::likely ? strategy : Z_RLE);
    }
  }
  append(bytes);
}

void packed_part::append(std::string_view bytes) {
  size_ += bytes.size();
  constexpr std::size_t most = std::numeric_limits<uInt>::max();
  for (std::size_t at = 0; at < bytes.size(); at += most) {
    const std::string_view piece = bytes.substr(at, most);
    // zlib only reads from here.
    stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
    stream_.avail_in = static_cast<uInt>(piece.size());
    run(Z_NO_FLUSH);
  }
}

std::string packed_part::finish() {
  run(Z_FINISH);
  packed_.shrink_to_fit();
  return std::move(packed_);
}

void packed_part::run(int flush) {
  std::array<char, std::size_t{64} * 1024> block;
  do {
    stream_.next_out = reinterpret_cast<Bytef*>(block.data());
    stream_.avail_out = block.size();
    deflate(&stream_, flush);
    packed_.append(block.data(), block.size() - stream_.avail_out);
  } while (stream_.avail_out == 0);
}

std::string pack(std::string_view bytes) {
  packed_part part;
  part.append(bytes);
  return part.finish();
}
