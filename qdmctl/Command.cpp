#include "qdmctl/Command.h"

namespace qdmctl {

const std::vector<Command>& Commands() {
    static const std::vector<Command> commands = {
        {"list", "show the adapter ports of this server with their versions", "qdm.list/1", false,
         false, DeviceFilter | ManyCalls, RunList},
        {"info", "tell all that is known of one port", "qdm.info/1", false, false, OneDevice,
         RunInfo},
        {"check", "compare the ports with the packages of a repository", "qdm.check/1", true, false,
         DeviceFilter, RunCheck},
        {"update",
         "bring utility, firmware and driver to a repository's versions; utility and driver are "
         "one for all ports",
         "qdm.update/1", true, true, DeviceFilter | Confirmation | UpdateChoice, RunUpdate},
        {"pending", "show updates that wait for a reboot, or what has become of them",
         "qdm.pending/1", false, false, NoOptions, RunPending},
        {"repair", "finish an installation of the adapter utility that an update has begun",
         "qdm.repair/1", false, true, Confirmation, RunRepair},
        {"report", "write the provider's configuration report into a folder", "qdm.report/1", false,
         false, DeviceFilter | OutputOption, RunReport},
        {"restore", "drop what earlier runs have left, so that the next one reads anew",
         "qdm.restore/1", false, true, DeviceFilter, RunRestore},
        {"doctor", "look for what would keep this server from being read and updated",
         "qdm.doctor/1", false, false, NoOptions, RunDoctor},
    };
    return commands;
}

}  // namespace qdmctl
