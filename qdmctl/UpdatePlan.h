#pragma once

#include "qdmctl/Repository.h"
#include "qdmctl/Session.h"

#include <string>
#include <vector>

class CModuleManager;

namespace qdmctl {

/// One module of one port that is to be updated.
struct UpdateItem {
    PortSession* port = nullptr;
    CModuleManager* module = nullptr;  ///< belongs to the port's vendor object
    std::size_t component = 0;         ///< of the port's view
    PackageEntry package;
    std::string archive;  ///< the checked copy; empty until it is made

    Component& View() const { return port->view.components[component]; }
};

/// Kinds of modules that can be updated, as update modules and components name them.
inline constexpr char FirmwareKind[] = "firm";

/// Opens the session, reads the ports and judges them: each usable port gets its components, and
/// those that an update with the given options would install are returned with checked copies of
/// their packages. Errors go to the answer and to the components that they concern.
[[nodiscard]] std::vector<UpdateItem> PrepareUpdate(Session& session);

}  // namespace qdmctl
