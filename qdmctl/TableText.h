#pragma once

#include <string>
#include <vector>

namespace qdmctl {

struct TableStyle {
    unsigned width = 80;  ///< columns of the terminal; 0: no limit
    bool colour = false;
};

inline constexpr std::size_t tableGap = 2;  ///< blanks between columns, and before continued lines

inline constexpr char red[] = "31";
inline constexpr char green[] = "32";
inline constexpr char yellow[] = "33";

struct Cell {
    std::string text;  ///< printable
    const char* colour = nullptr;
};

struct Row {
    std::vector<Cell> cells;
    std::vector<std::string> notes;  ///< lines of text below the row
};

struct Table {
    std::vector<std::string> titles;
    std::vector<Row> rows;  ///< each with a cell for every title
};

/// The table; a row that is too wide continues on indented lines.
[[nodiscard]] std::string Format(const Table& table, const TableStyle& style);

[[nodiscard]] std::vector<std::size_t> ColumnWidths(const Table& table);

/// Columns that lines may have.
[[nodiscard]] std::size_t UsableWidth(const TableStyle& style);

/// What a cell shows: printable, cut where it is very long, "-" for nothing.
[[nodiscard]] std::string CellText(const std::string& text);

/// The same for a version, "-" where it could not be read.
[[nodiscard]] std::string VersionCellText(const std::string& version);

/// The text behind the label, wrapped; its further lines stand below its first.
[[nodiscard]] std::string Indented(const std::string& label, const std::string& text,
                                   std::size_t usable);

/// The text in a colour (null: none) where the style has colours.
[[nodiscard]] std::string Coloured(const std::string& text, const char* colour,
                                   const TableStyle& style);

}  // namespace qdmctl
