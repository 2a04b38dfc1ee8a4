#include "qdmctl/AnswerTable.h"

#include "qdmctl/AnswerPending.h"
#include "qdmctl/AnswerRepair.h"
#include "qdmctl/SafeText.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>

namespace qdmctl {
namespace {

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

Row PortRow(const Port& port) {
    Row row;
    row.cells = {{CellText(port.deviceId)},
                 {CellText(port.modelKey)},
                 {CellText(port.wwpn)},
                 {VersionCellText(port.versions.firmware)},
                 {VersionCellText(port.versions.bootBios)},
                 {VersionCellText(port.versions.driver)},
                 {VersionCellText(port.versions.utility)}};
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
    row.cells = {{CellText(port.deviceId)},
                 {CellText(component.kind)},
                 {VersionCellText(component.installed)},
                 {VersionCellText(component.offered)},
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
    const std::size_t used =
        std::accumulate(widths.begin(), widths.end(), tableGap * widths.size());
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

bool IsIdle(const Component& component) {
    return component.offered.empty() && OutcomeOf(component) == Outcome::NotNeeded;
}

std::set<std::string> BusyKinds(const std::vector<Port>& ports) {
    std::set<std::string> kinds;
    for (const Port& port : ports) {
        for (const Component& component : port.components) {
            kinds.insert(IsIdle(component) ? std::string() : component.kind);
        }
    }
    kinds.erase(std::string());
    return kinds;
}

/// A repository that has nothing of a kind for any port leaves that kind out of the table, unless
/// nothing would be left.
std::vector<Port> WithoutIdleKinds(std::vector<Port> ports) {
    const std::set<std::string> busy = BusyKinds(ports);
    const auto idle = [&](const Component& component) {
        return !busy.empty() && busy.count(component.kind) == 0;
    };
    for (Port& port : ports) {
        auto& all = port.components;
        all.erase(std::remove_if(all.begin(), all.end(), idle), all.end());
    }
    return ports;
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

/// Answers whose own section tells all have no table of ports.
std::string PortsToText(const Answer& answer, const TableStyle& style) {
    const bool hasRows = std::any_of(
        answer.ports.begin(), answer.ports.end(),
        [&](const Port& port) { return !answer.hasComponents || !port.components.empty(); });
    if (!hasRows || answer.restored || answer.info) {
        return {};
    }
    return Format(
        answer.hasComponents ? ComponentTable(answer.ports, style) : PortTable(answer.ports),
        style);
}

std::string SectionsToText(const Answer& answer, const TableStyle& style) {
    std::string text = PortsToText(answer, style);
    const auto add = [&text](const std::string& part) {
        text += (text.empty() || part.empty() ? "" : "\n") + part;
    };
    add(answer.info ? InfoToText(*answer.info, answer.ports.front(), style) : std::string());
    add(answer.checks ? ChecksToText(*answer.checks, style) : std::string());
    add(answer.hasComponents ? Summary(answer) : std::string());
    add(answer.pending ? PendingToText(*answer.pending, style) : std::string());
    add(answer.repair ? RepairToText(*answer.repair, style) : std::string());
    add(answer.report ? ReportToText(*answer.report, style) : std::string());
    add(answer.restored ? RestoredToText(*answer.restored, style) : std::string());
    add(ErrorsToText(answer.errors, style));
    return text;
}

}  // namespace

std::string ErrorsToText(const std::vector<Error>& errors, const TableStyle& style) {
    std::string text;
    for (const Error& error : errors) {
        text += ErrorText(error, style);
    }
    return text;
}

bool HasTable(const Answer& answer) {
    return !answer.ports.empty() || answer.pending || answer.repair || answer.restored ||
           answer.checks;
}

std::string ToTable(const Answer& answer, const TableStyle& style) {
    if (!answer.hasComponents) {
        return SectionsToText(answer, style);
    }
    Answer shown = answer;
    shown.ports = WithoutIdleKinds(std::move(shown.ports));
    return SectionsToText(shown, style);
}

}  // namespace qdmctl
