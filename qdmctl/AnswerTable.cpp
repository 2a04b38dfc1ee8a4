#include "qdmctl/AnswerTable.h"

#include "qdmctl/SafeText.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace qdmctl {
namespace {

constexpr std::size_t gap = 2;           ///< blanks between columns, and before continued lines
constexpr std::size_t widestCell = 40;   ///< longer values are cut
constexpr std::size_t leastWidth = 40;   ///< a narrower terminal breaks the lines itself
constexpr std::size_t noLimit = 100000;  ///< wider than any table

constexpr char red[] = "31";
constexpr char green[] = "32";
constexpr char yellow[] = "33";

struct Cell {
    std::string text;
    const char* colour = nullptr;
};

struct Row {
    std::vector<Cell> cells;
    std::vector<std::string> notes;  ///< lines of text below the row
};

struct Table {
    std::vector<std::string> titles;
    std::vector<Row> rows;
};

/// Columns of each line that a row takes.
using Layout = std::vector<std::vector<std::size_t>>;

std::size_t UsableWidth(const TableStyle& style) {
    return style.width == 0 ? noLimit : std::max<std::size_t>(style.width, leastWidth);
}

std::string Value(const std::string& text) {
    return text.empty() ? "-" : Shorten(Printable(text), widestCell);
}

std::string Version(const std::string& version) {
    return Value(IsUnreadable(version) ? std::string() : version);
}

const char* ColourOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Updated:
            return green;
        case Outcome::Pending:
        case Outcome::NotAttempted:
            return yellow;
        case Outcome::Failed:
            return red;
        default:
            return nullptr;
    }
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

Layout Fold(const std::vector<std::size_t>& widths, std::size_t usable) {
    Layout layout = {{}};
    std::size_t used = 0;
    for (std::size_t column = 0; column < widths.size(); ++column) {
        if (used != 0 && used + gap + widths[column] > usable) {
            layout.push_back({});
            used = 0;
        }
        // The first column of a continued line stands behind as many blanks as the others.
        used += widths[column] + (layout.size() == 1 && used == 0 ? 0 : gap);
        layout.back().push_back(column);
    }
    return layout;
}

std::string Coloured(const std::string& text, const char* colour, const TableStyle& style) {
    return style.colour && colour != nullptr
               ? "\x1b[" + std::string(colour) + "m" + text + "\x1b[0m"
               : text;
}

std::string FormatLine(const std::vector<Cell>& cells, const std::vector<std::size_t>& columns,
                       const std::vector<std::size_t>& widths, const TableStyle& style) {
    std::string text;
    for (const std::size_t column : columns) {
        const Cell& cell = cells[column];
        text += Coloured(cell.text, cell.colour, style);
        const bool last = column == columns.back();
        text.append(last ? 0 : widths[column] - WidthOf(cell.text) + gap, ' ');
    }
    return text;
}

std::string FormatRow(const std::vector<Cell>& cells, const std::vector<std::size_t>& widths,
                      const Layout& layout, const TableStyle& style) {
    std::string text;
    for (const std::vector<std::size_t>& columns : layout) {
        text += text.empty() ? "" : "\n" + std::string(gap, ' ');
        text += FormatLine(cells, columns, widths, style);
    }
    return text + "\n";
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
            text += Indented(std::string(2 * gap, ' '), note, UsableWidth(style));
        }
    }
    return text;
}

Row PortRow(const Port& port) {
    Row row;
    row.cells = {{Value(port.deviceId)},
                 {Value(port.modelKey)},
                 {Value(port.wwpn)},
                 {Version(port.versions.firmware)},
                 {Version(port.versions.bootBios)},
                 {Version(port.versions.driver)},
                 {Version(port.versions.utility)}};
    if (!port.reportedModelKey.empty() && port.reportedModelKey != port.modelKey) {
        row.notes.push_back("the provider reports the model as " + port.reportedModelKey);
    }
    return row;
}

Table PortTable(const std::vector<Port>& ports) {
    Table table = {{"DEVICE", "MODEL", "WWPN", "FIRMWARE", "BOOT BIOS", "DRIVER", "UTILITY"}, {}};
    std::transform(ports.begin(), ports.end(), std::back_inserter(table.rows), PortRow);
    return table;
}

Row ComponentRow(const Port& port, const Component& component) {
    const Outcome outcome = OutcomeOf(component);
    Row row;
    row.cells = {{Value(port.deviceId)},
                 {Value(component.kind)},
                 {Version(component.installed)},
                 {Version(component.offered)},
                 {std::string(NameOf(component.verdict))},
                 {std::string(NameOf(outcome)), ColourOf(outcome)}};
    if (!component.reason.empty()) {
        row.notes.push_back(component.reason);
    }
    return row;
}

/// Reasons get a column of their own where even the longest fits beside the row.
void PlaceReasons(Table& table, const TableStyle& style) {
    const std::vector<std::size_t> widths = ColumnWidths(table);
    const std::size_t used = std::accumulate(widths.begin(), widths.end(), gap * widths.size());
    const bool fits = std::all_of(table.rows.begin(), table.rows.end(), [&](const Row& row) {
        return row.notes.empty() ||
               used + WidthOf(Printable(row.notes.front())) <= UsableWidth(style);
    });
    if (!fits) {
        return;
    }
    table.titles.push_back("REASON");
    for (Row& row : table.rows) {
        row.cells.push_back({row.notes.empty() ? std::string() : Printable(row.notes.front())});
        row.notes.clear();
    }
}

Table ComponentTable(const std::vector<Port>& ports, const TableStyle& style) {
    Table table = {{"DEVICE", "KIND", "INSTALLED", "OFFERED", "VERDICT", "OUTCOME"}, {}};
    for (const Port& port : ports) {
        for (const Component& component : port.components) {
            table.rows.push_back(ComponentRow(port, component));
        }
    }
    PlaceReasons(table, style);
    return table;
}

/// "2 updated, 1 skipped"
std::string CountOutcomes(const std::vector<Port>& ports) {
    std::map<Outcome, unsigned> counts;
    for (const Port& port : ports) {
        for (const Component& component : port.components) {
            ++counts[OutcomeOf(component)];
        }
    }
    std::string text;
    for (const auto& [outcome, count] : counts) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " ";
        text += NameOf(outcome);
    }
    return text;
}

std::string Summary(const Answer& answer) {
    const std::string counts = CountOutcomes(answer.ports);
    if (answer.result == Result::Nothing) {
        return counts.empty() ? "nothing to do\n" : "nothing to do: " + counts + "\n";
    }
    return counts.empty() ? "" : counts + "\n";
}

/// "0000:03:00.0-10df-f100, firm, last error 33, MSGID_..."
std::string Circumstances(const Error& error) {
    std::string text = error.deviceId;
    const auto add = [&text](const std::string& part) {
        text += (text.empty() || part.empty() ? "" : ", ") + part;
    };
    add(error.kind);
    add(error.lastError ? "last error " + std::to_string(*error.lastError) : "");
    add(error.messageId);
    return text;
}

std::string ErrorText(const Error& error, const TableStyle& style) {
    const std::size_t usable = UsableWidth(style);
    const std::string circumstances = Circumstances(error);
    const std::string label = "error ";
    std::string text = Indented(label,
                                std::string(NameOf(error.id)) + ": " + error.message +
                                    (circumstances.empty() ? "" : " (" + circumstances + ")"),
                                usable);
    text.replace(0, label.size(), Coloured("error", red, style) + " ");
    return text + Indented("  hint: ", error.hint, usable);
}

}  // namespace

std::string ErrorsToText(const std::vector<Error>& errors, const TableStyle& style) {
    std::string text;
    for (const Error& error : errors) {
        text += ErrorText(error, style);
    }
    return text;
}

std::string ToTable(const Answer& answer, const TableStyle& style) {
    const bool hasRows = std::any_of(
        answer.ports.begin(), answer.ports.end(),
        [&](const Port& port) { return !answer.hasComponents || !port.components.empty(); });
    std::string text;
    if (hasRows) {
        text = Format(
            answer.hasComponents ? ComponentTable(answer.ports, style) : PortTable(answer.ports),
            style);
    }
    if (answer.hasComponents) {
        text += (text.empty() ? "" : "\n") + Summary(answer);
    }
    const std::string errors = ErrorsToText(answer.errors, style);
    return text + (text.empty() || errors.empty() ? "" : "\n") + errors;
}

}  // namespace qdmctl
