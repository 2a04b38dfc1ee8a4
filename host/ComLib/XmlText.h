#pragma once

#include <string>

/// True for the names of elements and attributes that this host writes: ASCII letters, digits, "_",
/// "-" and ".", a letter or "_" in front.
[[nodiscard]] bool IsXmlName(const std::string& text);

/// The text as a document may hold it: control characters left out, but for tabs and line ends, and
/// what is no UTF-8 replaced. Escaping is not done here.
[[nodiscard]] std::string XmlText(const std::string& text);
