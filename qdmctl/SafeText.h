#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qdmctl {

/// Text of unknown origin made harmless for a terminal: control and text-direction characters and
/// bytes that are no UTF-8 become "?", line feeds and tabs blanks.
[[nodiscard]] std::string Printable(const std::string& text);

/// Number of characters of printable text.
[[nodiscard]] std::size_t WidthOf(const std::string& printable);

/// Cuts printable text to at most `width` (at least 3) characters, the last three "..." where
/// something is left out.
[[nodiscard]] std::string Shorten(const std::string& printable, std::size_t width);

/// Splits printable text at blanks into lines of at most `width` characters, 0 for no limit. A word
/// that is longer stays whole, so that a path can be copied.
[[nodiscard]] std::vector<std::string> Wrap(const std::string& printable, std::size_t width);

}  // namespace qdmctl
