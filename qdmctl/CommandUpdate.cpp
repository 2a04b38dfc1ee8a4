#include "qdmctl/Command.h"
#include "qdmctl/UpdateRun.h"

#include <algorithm>
#include <set>

namespace qdmctl {
namespace {

std::string Change(const Component& view) {
    return view.kind + "  " + (IsUnreadable(view.installed) ? "(unreadable)" : view.installed) +
           " -> " + view.offered;
}

/// What is one for the whole server stands in one line, also where only some ports were named.
std::string Question(const std::vector<UpdateItem>& items) {
    std::set<std::string> lines;
    std::string text = "To be installed:\n";
    for (const UpdateItem& item : items) {
        const bool ofServer = IsOfServer(item.package.kind);
        const std::string whom = ofServer ? "the whole server" : item.port->view.deviceId;
        const std::string line = "  " + whom + "  " + Change(item.View()) + "\n";
        text += lines.insert(line).second ? line : "";
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

void Carry(Session& session, DriverState& drivers, std::vector<UpdateItem>& items) {
    if (!session.options.dryRun) {
        drivers.RecordFound();
    }
    if (items.empty()) {
        return;
    }
    if (session.options.dryRun) {
        Mark(items, "dry run: nothing has been changed");
    } else if (!Agreed(session.options, session.console, items)) {
        Mark(items, "not confirmed: nothing has been changed");
        session.Stopped();
    } else {
        UpdateRun(session, drivers, items).Run();
        ReadAgain(session, Touched(session, items));
    }
}

}  // namespace

Answer RunUpdate(const Options& options, Console& console) {
    Answer answer;
    answer.hasComponents = true;
    Session session(options, console, answer);
    DriverState drivers(session);
    auto items = PrepareUpdate(session, drivers);
    Carry(session, drivers, items);
    session.Publish();
    return answer;
}

}  // namespace qdmctl
