#include "qdmctl/TableText.h"

#include "qdmctl/Answer.h"
#include "qdmctl/SafeText.h"

#include <algorithm>

namespace qdmctl {
namespace {

constexpr std::size_t widestCell = 40;   ///< longer values are cut
constexpr std::size_t leastWidth = 40;   ///< a narrower terminal breaks the lines itself
constexpr std::size_t noLimit = 100000;  ///< wider than any table

/// Columns of each line that a row takes.
using Layout = std::vector<std::vector<std::size_t>>;

Layout Fold(const std::vector<std::size_t>& widths, std::size_t usable) {
    Layout layout = {{}};
    std::size_t used = 0;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        if (used != 0 && used + tableGap + widths[column] > usable) {
            layout.push_back({});
            used = 0;
        }
        // The first column of a continued line stands behind as many blanks as the others.
        used += widths[column] + (layout.size() == 1 && used == 0 ? 0 : tableGap);
        layout.back().push_back(column);
    }
    return layout;
}

std::string FormatLine(const std::vector<Cell>& cells, const std::vector<std::size_t>& columns,
                       const std::vector<std::size_t>& widths, const TableStyle& style) {
    std::string text;
    for (const std::size_t column : columns) {
        const Cell& cell = cells[column];
        text += Coloured(cell.text, cell.colour, style);
        const bool last = column == columns.back();
        text.append(last ? 0 : widths[column] - WidthOf(cell.text) + tableGap, ' ');
    }
    return text;
}

std::string FormatRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                      const Layout& layout, const TableStyle& style) {
    std::string text;
    for (const std::vector<std::size_t>& columns : layout) {
        text += text.empty() ? "" : "\n" + std::string(tableGap, ' ');
        text += FormatLine(cells, columns, widths, style);
    }
    return text + "\n";
}

}  // namespace

std::size_t UsableWidth(const TableStyle& style) {
    return style.width == 0 ? noLimit : std::max<std::size_t>(style.width, leastWidth);
}

std::string CellText(const std::string& text) {
    return text.empty() ? "-" : Shorten(Printable(text), widestCell);
}

std::string VersionCellText(const std::string& version) {
    return CellText(IsUnreadable(version) ? std::string() : version);
}

std::vector<std::size_t> ColumnWidths(const Table& table) {
    std::vector<std::size_t> widths;
    for (const std::string& title : table.titles) {
        widths.push_back(title.size());
    }
    for (const Row& row : table.rows) {
        for (std::size_t column = 0; column < widths.size(); ++column) {
            widths[column] = std::max(widths[column], WidthOf(row.cells[column].text));
        }
    }
    return widths;
}

std::string Coloured(const std::string& text, const char* colour, const TableStyle& style) {
    return style.colour && colour != nullptr
               ? "\x1b[" + std::string(colour) + "m" + text + "\x1b[0m"
               : text;
}

std::string Indented(const std::string& label, const std::string& text, std::size_t usable) {
    std::string result;
    const std::size_t indent = WidthOf(label);
    for (const std::string& line : Wrap(Printable(text), usable - indent)) {
        result += (result.empty() ? label : std::string(indent, ' ')) + line + "\n";
    }
    return result;
}

std::string Format(const Table& table, const TableStyle& style) {
    const std::vector<std::size_t> widths = ColumnWidths(table);
    const Layout layout = Fold(widths, UsableWidth(style));
    std::vector<Cell> titles;
    for (const std::string& title : table.titles) {
        titles.push_back({title});
    }
    std::string text = FormatRow(titles, widths, layout, style);
    for (const Row& row : table.rows) {
        text += FormatRow(row.cells, widths, layout, style);
        for (const std::string& note : row.notes) {
            text += Indented(std::string(2 * tableGap, ' '), note, UsableWidth(style));
        }
    }
    return text;
}

}  // namespace qdmctl
