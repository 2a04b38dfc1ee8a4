#include "qdmctl/Command.h"
#include "qdmctl/RepairState.h"
#include "qdmctl/UpdateRun.h"

#include <algorithm>
#include <set>

namespace qdmctl {
namespace {

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text + "  ";
}

/// What is one for the whole server stands in one line, also where only some ports were named.
std::string Change(const UpdateItem& item) {
    constexpr std::size_t longestKind = 6;
    constexpr std::size_t usualDeviceId = 22;
    const Component& view = item.View();
    const std::string whom = IsOfServer(view.kind) ? "the whole server" : item.port->view.deviceId;
    return "  " + Padded(view.kind, longestKind) + Padded(whom, usualDeviceId) +
           (IsUnreadable(view.installed) ? "(unreadable)" : view.installed) + " -> " +
           view.offered + "\n";
}

/// In the order in which it will be done.
std::string Question(const std::vector<UpdateItem>& items) {
    std::set<std::string> lines;
    std::string text = "To be installed, in this order:\n";
    for (const std::string& kind : KindsInOrder(*items.front().port->vendor)) {
        for (const UpdateItem& item : items) {
            const bool wanted = item.View().kind == kind && lines.insert(Change(item)).second;
            text += wanted ? Change(item) : "";
        }
    }
    return text + "The server must not be powered off meanwhile. Go ahead?";
}

void Mark(const std::vector<UpdateItem>& items, const std::string& reason) {
    for (const UpdateItem& item : items) {
        item.View().reason = reason;
    }
}

bool Agreed(const Options& options, Console& console, const std::vector<UpdateItem>& items) {
    return options.yes || console.Ask(Question(items));
}

/// The ports whose versions may be others now.
std::vector<PortSession*> Touched(Session& session, const std::vector<UpdateItem>& items) {
    const bool all = std::any_of(items.begin(), items.end(), [](const UpdateItem& item) {
        return IsOfServer(item.package.kind);
    });
    std::set<PortSession*> ports;
    for (const UpdateItem& item : items) {
        ports.insert(item.port);
    }
    return all ? session.AllPorts() : std::vector<PortSession*>(ports.begin(), ports.end());
}

void ReadAgain(Session& session, const std::vector<PortSession*>& ports) {
    for (PortSession* port : ports) {
        port->view.versions.bootBios.clear();  // unknown until it is read again
    }
    if (session.ToolIsMissing()) {
        for (PortSession* port : ports) {
            port->view.versions.utility.clear();
        }
    } else if (!session.console.StopRequested()) {
        session.ReadVersions(ports);
    }
}

/// Of an installation that has ended after all, or was finished by hand: the utility answers. When
/// it is to be replaced again, that leaves a note of its own.
void DropStaleNote(Session& session) {
    const auto ports = session.AllPorts();
    const bool answers = std::any_of(ports.begin(), ports.end(), [](const PortSession* port) {
        return port->usable && !IsUnreadable(port->view.versions.utility);
    });
    const auto note =
        answers ? ReadRepairNote(session.Root()) : Loaded<std::optional<RepairNote>>();
    if (!note || !*note.value || session.Stopped() || BrokenInstallation(session, **note.value)) {
        return;
    }
    if (auto error = RemoveRepairNote(session.Root())) {
        session.answer.errors.push_back(std::move(*error));
    }
}

void Carry(Session& session, DriverState& drivers, std::vector<UpdateItem>& items) {
    if (items.empty()) {
        if (!session.options.dryRun) {
            DropStaleNote(session);
        }
    } else if (session.options.dryRun) {
        Mark(items, "dry run: nothing has been changed");
    } else if (!Agreed(session.options, session.console, items)) {
        Mark(items, "not confirmed: nothing has been changed");
        session.Stopped();
    } else {
        DropStaleNote(session);
        UpdateRun(session, drivers, items).Run();
        ReadAgain(session, Touched(session, items));
    }
}

void RecordAndCarry(Session& session, DriverState& drivers, std::vector<UpdateItem>& items) {
    if (session.options.dryRun) {
        Carry(session, drivers, items);
        return;
    }
    drivers.RecordFound();
    Carry(session, drivers, items);
    drivers.TellPending();
}

}  // namespace

Answer RunUpdate(const Options& options, Console& console) {
    Answer answer;
    answer.hasComponents = true;
    Session session(options, console, answer);
    DriverState drivers(session);
    auto items = PrepareUpdate(session, drivers);
    RecordAndCarry(session, drivers, items);
    session.Publish();
    return answer;
}

}  // namespace qdmctl
