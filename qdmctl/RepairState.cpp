#include "qdmctl/RepairState.h"

#include "host/CModuleManager.h"
#include "qdmctl/ConfigRefusal.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/Session.h"

#include <algorithm>

namespace qdmctl {
namespace {

bool AnswersAsNoted(const PortSession& port, const RepairNote& note) {
    CModuleManager* module = port.usable ? ModuleOfKind(*port.vendor, note.kind) : nullptr;
    return module != nullptr &&
           VersionRules{*module}.AreEqual(port.view.versions.utility, note.version);
}

}  // namespace

std::optional<Error> BrokenInstallation(Session& session, const RepairNote& note) {
    auto& ports = session.Ports();
    const auto port = std::find_if(ports.begin(), ports.end(), [&](const PortSession& one) {
        return AnswersAsNoted(one, note);
    });
    auto refusal =
        port == ports.end() ? std::nullopt : AskVendorsCondition(session, *port, note.kind);
    if (refusal) {
        refusal->message = "an installation of the adapter utility " + note.version +
                           " has broken off: " + refusal->message;
        refusal->hint = "run qdmctl repair, which installs it once more, then repeat the update";
    }
    return refusal;
}

}  // namespace qdmctl
