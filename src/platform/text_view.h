// Non-throwing pieces of a string_view. std::string_view::substr throws on a
// bad position, which would pull libstdc++'s exception support into a
// product that is built without exceptions; these clamp instead.
#pragma once

#include <cstddef>
#include <string_view>

namespace platform {

// The first n characters (all of them when n is larger).
constexpr std::string_view Head(std::string_view text, std::size_t n) {
  return {text.data(), n < text.size() ? n : text.size()};
}

// Everything from position pos on (empty when pos is past the end).
constexpr std::string_view From(std::string_view text, std::size_t pos) {
  return pos < text.size() ? std::string_view(text.data() + pos, text.size() - pos) : std::string_view();
}

}  // namespace platform
