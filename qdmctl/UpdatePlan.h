#pragma once

#include "qdmctl/DriverState.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/Repository.h"
#include "qdmctl/Session.h"

#include <string>
#include <vector>

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

/// Tells why an item is not to be updated: as an error of its port or, where the module is the
/// whole server's, as one error for all ports.
void Refuse(Session& session, const UpdateItem& item, Error error);

/// Opens the session, reads the ports and judges them: each usable port gets its components, and
/// those that an update with the given options would install are returned with checked copies of
/// their packages. Errors go to the answer and to the components that they concern.
[[nodiscard]] std::vector<UpdateItem> PrepareUpdate(Session& session, DriverState& drivers);

}  // namespace qdmctl
