#include "qdmctl/Command.h"
#include "qdmctl/UpdateRun.h"

namespace qdmctl {
namespace {

std::string Question(const std::vector<UpdateItem>& items) {
    std::string text = "To be installed:\n";
    for (const UpdateItem& item : items) {
        const Component& view = item.View();
        text += "  " + item.port->view.deviceId + "  " + view.kind + "  " +
                (IsUnreadable(view.installed) ? "(unreadable)" : view.installed) + " -> " +
                view.offered + "\n";
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

std::vector<PortSession*> PortsOf(const std::vector<UpdateItem>& items) {
    std::vector<PortSession*> ports;
    ports.reserve(items.size());
    for (const UpdateItem& item : items) {
        ports.push_back(item.port);
    }
    return ports;
}

void Carry(Session& session, std::vector<UpdateItem>& items) {
    if (items.empty()) {
        return;
    }
    if (session.options.dryRun) {
        Mark(items, "dry run: nothing has been changed");
    } else if (!Agreed(session.options, session.console, items)) {
        Mark(items, "not confirmed: nothing has been changed");
        session.Stopped();
    } else {
        UpdateRun(session, items).Run();
        for (const UpdateItem& item : items) {
            item.port->view.versions.bootBios.clear();  // unknown until it is read again
        }
        if (!session.console.StopRequested()) {
            session.ReadVersions(PortsOf(items));
        }
    }
}

}  // namespace

Answer RunUpdate(const Options& options, Console& console) {
    Answer answer;
    answer.hasComponents = true;
    Session session(options, console, answer);
    auto items = PrepareUpdate(session);
    Carry(session, items);
    session.Publish();
    return answer;
}

}  // namespace qdmctl
