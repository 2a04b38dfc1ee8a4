#include "qdmctl/UpdatePlan.h"

#include "host/CFirmware.h"
#include "qdmctl/PackageCheck.h"

#include <algorithm>
#include <map>

namespace qdmctl {
namespace {

constexpr char MalformedVersionMessage[] = "MSGID_EMULEX_FC_0019_F";

/// The module's own rules for versions. A comparison gives 0 for equal and for malformed versions;
/// only the message tells them apart.
struct VersionRules {
    CModuleManager& module;

    int Compare(const std::string& first, const std::string& second) const {
        return module.CheckVendorVersion(first, second);
    }
    bool IsWellFormed(const std::string& version) const {
        const CallRecord record;
        module.CheckVendorVersion(version, version);
        return !record.Has(MalformedVersionMessage);
    }
};

bool MayInstall(const Component& component, const Options& options) {
    switch (component.verdict) {
        case Verdict::Newer:
            return true;
        case Verdict::Older:
            return options.allowOlder;
        case Verdict::Unreadable:
        case Verdict::Incomparable:
            return options.force && !options.devices.empty();
        default:
            return false;
    }
}

/// The user knows that the port cannot be read: that alone is no failure of this run any more.
void ForgiveReading(std::vector<Error>& errors, const PortSession& port) {
    errors.erase(std::remove_if(errors.begin(), errors.end(),
                                [&](const Error& error) {
                                    return error.id == ErrorId::ToolFailed &&
                                           error.deviceId == port.view.deviceId;
                                }),
                 errors.end());
}

void AddComponent(Session& session, PortSession& port, const Repository& repository,
                  std::vector<UpdateItem>& items) {
    CFirmware* module = port.vendor->GetFirmwareModule();
    if (module == nullptr) {
        return;
    }
    module->SetUniqueName(port.view.modelKey);
    const VersionRules rules{*module};
    const auto compare = [&](const auto& a, const auto& b) { return rules.Compare(a, b); };
    const auto wellFormed = [&](const auto& version) { return rules.IsWellFormed(version); };

    Component component;
    component.kind = FirmwareKind;
    component.installed = port.view.versions.firmware;
    Selection selection =
        SelectPackage(repository, FirmwareKind, port.view.modelKey, compare, wellFormed);
    if (selection.error) {
        selection.error->deviceId = port.view.deviceId;
        session.answer.errors.push_back(*selection.error);
    }
    if (selection.package) {
        component.offered = selection.package->version;
    }
    component.verdict = JudgeVersions(component.installed, component.offered, compare, wellFormed);
    const Plan plan = PlannedOutcome(component.verdict);
    component.outcome = plan.outcome;
    component.reason = plan.reason;
    port.view.components.push_back(component);
    if (MayInstall(component, session.options)) {
        port.view.components.back().outcome = Outcome::NotAttempted;
        ForgiveReading(session.answer.errors, port);
        items.push_back({&port, module, port.view.components.size() - 1, *selection.package, {}});
    }
}

bool SameAdapter(const PciAddress& one, const PciAddress& other) {
    return one.domain == other.domain && one.bus == other.bus && one.device == other.device;
}

/// The port through which the firmware of an item reaches its adapter.
DeviceIdentifier Gate(const UpdateItem& item) {
    DeviceIdentifier gate = item.port->found.id;
    if (item.port->found.model->flashedByFunction0) {
        gate.address.function = 0;
    }
    return gate;
}

bool HasItemFor(const std::vector<UpdateItem>& items, const DeviceIdentifier& gate) {
    return std::any_of(items.begin(), items.end(), [&](const UpdateItem& item) {
        const PciAddress& address = item.port->found.id.address;
        return SameAdapter(address, gate.address) && address.function == gate.address.function;
    });
}

/// Where function 0 takes the firmware for the whole adapter the provider skips the others: alone
/// they would seem updated and then fail their check.
void LeaveOutLoneFunctions(Session& session, std::vector<UpdateItem>& items) {
    const std::vector<UpdateItem> all = items;
    const auto lone = [&](const UpdateItem& item) {
        const DeviceIdentifier gate = Gate(item);
        if (HasItemFor(all, gate)) {
            return false;
        }
        item.View().outcome = Outcome::Skipped;
        item.View().reason = "this adapter is flashed through its function 0";
        if (session.options.devices.empty()) {
            return true;  // the other port's own error tells why it takes no part
        }
        session.AddError(ErrorId::Usage,
                         "this adapter is flashed through its function 0, which is not part of "
                         "this update",
                         "add --device " + gate.Text(), item.port);
        return true;
    };
    items.erase(std::remove_if(items.begin(), items.end(), lone), items.end());
}

void Refuse(Session& session, const UpdateItem& item, Error error) {
    Component& view = item.View();
    view.outcome = Outcome::Failed;
    view.reason = error.message;
    error.deviceId = item.port->view.deviceId;
    error.kind = view.kind;
    session.answer.errors.push_back(std::move(error));
}

/// Stages a package on its first use; a copy that serves several models is checked for each.
std::optional<Error> Stage(UpdateItem& item, const Repository& repository,
                           const std::string& folder, std::map<std::string, std::string>& staged) {
    const Model& model = *item.port->found.model;
    const auto known = staged.find(item.package.file);
    if (known != staged.end()) {
        item.archive = known->second;
        return CheckArchive(item.archive, item.package, model);
    }
    const std::string copy = folder + "/" + std::to_string(staged.size()) + ".zip";
    auto error = CheckPackage(item.package, model, repository.folder, copy);
    if (!error) {
        item.archive = copy;
        staged.emplace(item.package.file, copy);
    }
    return error;
}

std::optional<Repository> OpenRepository(Session& session) {
    auto repository = LoadRepository(session.options.repository);
    session.answer.errors.insert(session.answer.errors.end(), repository.errors.begin(),
                                 repository.errors.end());
    return std::move(repository.value);
}

std::vector<UpdateItem> PlanUpdate(Session& session, const Repository& repository) {
    std::vector<UpdateItem> items;
    for (PortSession& port : session.Ports()) {
        if (port.usable) {
            AddComponent(session, port, repository, items);
        }
    }
    LeaveOutLoneFunctions(session, items);
    return items;
}

void StagePackages(Session& session, const Repository& repository, std::vector<UpdateItem>& items) {
    const std::string folder = session.ScratchFolder("packages");
    if (folder.empty()) {
        session.AddError(ErrorId::WorkArea,
                         "cannot make the folder packages below " + session.Root() + "/tmp/qdmctl",
                         "see that nothing else lies there; nothing has been changed");
        items.clear();
        return;
    }
    std::map<std::string, std::string> staged;
    const auto unusable = [&](UpdateItem& item) {
        auto error = Stage(item, repository, folder, staged);
        if (error) {
            Refuse(session, item, std::move(*error));
        }
        return error.has_value();
    };
    items.erase(std::remove_if(items.begin(), items.end(), unusable), items.end());
}

}  // namespace

std::vector<UpdateItem> PrepareUpdate(Session& session) {
    const auto repository = session.Open() ? OpenRepository(session) : std::nullopt;
    if (!repository || !session.Link()) {
        return {};
    }
    session.ReadVersions(session.AllPorts());
    if (session.Stopped()) {
        return {};  // what has not been read would seem unreadable
    }
    std::vector<UpdateItem> items = PlanUpdate(session, *repository);
    StagePackages(session, *repository, items);
    return items;
}

}  // namespace qdmctl
