#include "qdmctl/Command.h"

namespace qdmctl {

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {"list", "show the adapter ports of this server with their versions", "qdm.list/1", false,
         false, DeviceFilter, RunList},
        {"check", "compare the ports with the packages of a repository", "qdm.check/1", true, false,
         DeviceFilter, RunCheck},
        {"update", "bring the ports to the versions of a repository", "qdm.update/1", true, true,
         DeviceFilter | Confirmation | UpdateChoice, RunUpdate},
        {"pending", "show updates that wait for a reboot, or what has become of them",
         "qdm.pending/1", false, false, NoOptions, RunPending},
    };
    return commands;
}

}  // namespace qdmctl
