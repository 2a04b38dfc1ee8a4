#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "qdmctl/CacheGuard.h"
#include "qdmctl/Command.h"
#include "qdmctl/ResultFiles.h"
#include "qdmctl/Session.h"

#include <algorithm>

namespace qdmctl {
namespace {

void RestoreModules(Session& session) {
    for (PortSession& port : session.Ports()) {
        if (!port.usable) {
            continue;
        }
        if (CFirmware* firmware = port.vendor->GetFirmwareModule()) {
            firmware->UpdateRestore({});
        }
        if (CDriver* driver = port.vendor->GetDriverModule()) {
            driver->UpdateRestore({});
        }
        for (CUtility* utility : port.vendor->GetUtilityModules()) {
            utility->UpdateRestore({});
        }
    }
}

/// No module drops the adapter list, and a server without the adapter tool has modules for nothing
/// of what an update may have left.
void DropTheRest(Session& session) {
    CacheGuard::Drop(session.Root());
    DropResultFiles(session.Root());
}

void TellCleared(Session& session, const std::vector<std::string>& before) {
    const auto left = KeptReadings(session.Root());
    Restored& restored = session.answer.restored.emplace();
    std::copy_if(before.begin(), before.end(), std::back_inserter(restored.cleared),
                 [&](const std::string& file) {
                     return std::find(left.begin(), left.end(), file) == left.end();
                 });
    for (const ResultFile* file : FindResultFiles(session.Root())) {
        if (file->droppedByRestore) {
            session.AddError(ErrorId::WorkArea,
                             PathOf(*file, session.Root()) + " could not be removed",
                             "remove it by hand: as long as it is there, " +
                                 std::string(file->step) + " is skipped");
        }
    }
}

void Restore(Session& session, const std::vector<std::string>& before) {
    const bool linked = session.Link();
    if (session.Ports().empty() || session.Stopped()) {
        return;
    }
    if (linked) {
        RestoreModules(session);
    }
    DropTheRest(session);
    TellCleared(session, before);
}

}  // namespace

/// Cleans up even where the adapters cannot be listed; the answer then tells both.
Answer RunRestore(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    const auto before = KeptReadings(session.Root());
    if (session.Open()) {
        Restore(session, before);
    }
    session.Publish();
    return answer;
}

}  // namespace qdmctl
