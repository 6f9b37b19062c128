#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

/// Appends all pieces to `text`, which grows once for all of them. No piece may be a part of `text`.
template <class... Piece>
void append_pieces(std::string& text, const Piece&... piece) {
  const auto append_views = [&text](const auto... view) {
    const std::size_t begin = text.size();
    text.resize(begin + (view.size() + ...));
    char* end = text.data() + begin;
    const auto append_view = [&end](std::string_view bytes) {
      std::memcpy(end, bytes.data(), bytes.size());
      end += bytes.size();
    };
    (append_view(view), ...);
  };
  append_views(std::string_view(piece)...);
}
