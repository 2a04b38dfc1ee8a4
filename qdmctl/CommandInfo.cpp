#include "host/CVendor.h"
#include "qdmctl/Command.h"
#include "qdmctl/DriverOnDisk.h"
#include "qdmctl/PendingJudgement.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <list>

namespace qdmctl {
namespace {

std::vector<std::string> UpdateOrder(CVendor& vendor) {
    std::vector<std::string> kinds;
    for (const auto place :
         {CVendor::UPDATE_ORDER_FIRST, CVendor::UPDATE_ORDER_SECOND, CVendor::UPDATE_ORDER_THIRD}) {
        const std::string kind = vendor.GetUpdateOrderModuleKind(place, false);
        if (!kind.empty()) {
            kinds.push_back(kind);
        }
    }
    return kinds;
}

PortInfo InfoOf(const PortSession& port, const Descriptor& descriptor) {
    PortInfo info;
    info.vendorId = port.found.id.vendor;
    info.deviceId = port.found.id.device;
    info.subsystemVendor = port.found.subsystemVendor;
    info.subsystemDevice = port.found.subsystemDevice;
    info.vendorFamily = descriptor.vendorFamily;
    info.kernelModule = descriptor.kernelModule;
    info.driverOnDisk = DriverOnDisk(descriptor.kernelModule).value_or("");
    info.updateOrder = UpdateOrder(*port.vendor);
    std::list<std::pair<std::string, std::string>> extended;
    port.vendor->GetExtendedInfo(&extended);
    info.extended.assign(extended.begin(), extended.end());
    return info;
}

void TellPending(Session& session, const std::string& deviceId) {
    PendingUpdates store(session.Root());
    if (auto error = store.Load()) {
        session.answer.errors.push_back(std::move(*error));
        return;
    }
    auto views = LookAtPending(session, store);
    views.erase(std::remove_if(views.begin(), views.end(),
                               [&](const PendingView& view) {
                                   const auto& ids = view.update.deviceIds;
                                   return std::find(ids.begin(), ids.end(), deviceId) == ids.end();
                               }),
                views.end());
    session.answer.pending = std::move(views);
}

}  // namespace

Answer RunInfo(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    if (session.Open() && session.Link() && session.Ports().size() == 1) {
        session.ReadVersions(session.AllPorts());
        const PortSession& port = session.Ports().front();
        answer.info = InfoOf(port, session.ProviderDescriptor());
        TellPending(session, port.view.deviceId);
    }
    session.Publish();
    return answer;
}

}  // namespace qdmctl
