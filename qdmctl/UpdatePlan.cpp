#include "qdmctl/UpdatePlan.h"

#include "host/CModuleManager.h"
#include "host/CVendor.h"
#include "qdmctl/Command.h"
#include "qdmctl/ConfigRefusal.h"
#include "qdmctl/PackageStaging.h"
#include "qdmctl/RepairState.h"
#include "qdmctl/ResultFiles.h"

#include <algorithm>
#include <map>

namespace qdmctl {
namespace {

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

/// The user knows that it cannot be read: that alone is no failure of this run any more.
void ForgiveReading(std::vector<Error>& errors, const PortSession& port, const std::string& kind) {
    const auto known = [&](const Error& error) {
        return error.id == ErrorId::ToolFailed && (error.deviceId == port.view.deviceId ||
                                                   (error.deviceId.empty() && error.kind == kind));
    };
    errors.erase(std::remove_if(errors.begin(), errors.end(), known), errors.end());
}

/// Appends an error unless it has been told: what all ports share is told once.
void Tell(std::vector<Error>& errors, Error error) {
    if (IsOfServer(error.kind)) {
        error.deviceId.clear();
    }
    const bool told = std::any_of(errors.begin(), errors.end(), [&](const Error& other) {
        return other.id == error.id && other.deviceId == error.deviceId &&
               other.kind == error.kind && other.message == error.message;
    });
    if (!told) {
        errors.push_back(std::move(error));
    }
}

class Planner {
public:
    Planner(Session& session, const Repository& repository, DriverState& drivers)
        : session(session), repository(repository), drivers(drivers) {}

    std::vector<UpdateItem> Plan() {
        for (PortSession& port : session.Ports()) {
            if (port.usable) {
                AddComponents(port);
            }
        }
        return std::move(items);
    }

private:
    void AddComponents(PortSession& port) {
        for (const std::string& kind : KindsInOrder(*port.vendor)) {
            AddComponents(port, kind);
        }
    }

    void AddComponents(PortSession& port, const std::string& kind) {
        for (CModuleManager* module : ModulesOf(*port.vendor, kind)) {
            if (kind == FirmwareKind) {
                module->SetUniqueName(port.view.modelKey);
            }
            AddComponent(port, *module, kind);
        }
    }

    /// Judges one module of a port, and adds an item where it is to be updated.
    void AddComponent(PortSession& port, CModuleManager& module, const std::string& kind) {
        const VersionRules rules{module};
        Component component;
        component.kind = kind;
        component.installed = VersionOf(port.view.versions, kind);
        const auto package = Choose(port, rules, component);
        const auto judged = kind == DriverKind && package ? drivers.Judge(component, rules)
                                                          : DriverState::Judgement{};
        port.view.components.push_back(component);
        UpdateItem item{
            &port, &module, port.view.components.size() - 1, package.value_or(PackageEntry{}), {}};
        if (judged.fault) {
            Error fault = *judged.fault;
            fault.kind = kind;
            Tell(session.answer.errors, std::move(fault));
        }
        if (judged.installable && MayInstall(component, session.options)) {
            item.View().outcome = Outcome::NotAttempted;
            ForgiveReading(session.answer.errors, port, kind);
            items.push_back(std::move(item));
        }
    }

    /// The package that fits best, and how it stands to what is installed.
    std::optional<PackageEntry> Choose(const PortSession& port, const VersionRules& rules,
                                       Component& component) {
        const auto compare = [&](const auto& a, const auto& b) { return rules.Compare(a, b); };
        const auto wellFormed = [&](const auto& version) { return rules.IsWellFormed(version); };
        Selection selection =
            SelectPackage(repository, component.kind, port.view.modelKey, compare, wellFormed);
        if (selection.error) {
            selection.error->deviceId = port.view.deviceId;
            selection.error->kind = component.kind;
            Tell(session.answer.errors, *selection.error);
        }
        if (selection.package) {
            component.offered = selection.package->version;
        }
        component.verdict =
            JudgeVersions(component.installed, component.offered, compare, wellFormed);
        const qdmctl::Plan plan = PlannedOutcome(component.verdict);
        component.outcome = plan.outcome;
        component.reason = plan.reason;
        return selection.package;
    }

    Session& session;
    const Repository& repository;
    DriverState& drivers;
    std::vector<UpdateItem> items;
};

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
        if (item.View().kind != FirmwareKind) {
            return false;
        }
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
        if (item.View().kind != FirmwareKind || HasItemFor(all, gate)) {
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

/// The one module of a kind that the ports of the server agree on is installed for them all.
void RefuseDisagreement(Session& session, std::vector<UpdateItem>& items) {
    const std::vector<UpdateItem> all = items;
    const auto rivalOf = [&](const UpdateItem& item) {
        return std::find_if(all.begin(), all.end(), [&](const UpdateItem& other) {
            return IsOfServer(item.package.kind) && other.package.kind == item.package.kind &&
                   other.package.file != item.package.file;
        });
    };
    const auto disagrees = [&](const UpdateItem& item) {
        const auto rival = rivalOf(item);
        if (rival == all.end()) {
            return false;
        }
        const auto& [first, second] = std::minmax(item.package.file, rival->package.file);
        Refuse(session, item,
               MakeError(ErrorId::PackageUnsuitable,
                         "the repository offers the ports of this server different modules (" +
                             first + " and " + second + "), but there is only one " +
                             item.package.kind + " for them all",
                         "let one module of this kind be for all models of this server"));
        return true;
    };
    items.erase(std::remove_if(items.begin(), items.end(), disagrees), items.end());
}

void CheckConditions(Session& session, std::vector<UpdateItem>& items) {
    std::map<std::string, std::optional<Error>> ofServer;
    const auto refused = [&](const UpdateItem& item) {
        const bool shared = IsOfServer(item.package.kind);
        const auto known = ofServer.find(item.package.kind);
        const auto error = shared && known != ofServer.end()
                               ? known->second
                               : AskVendorsCondition(session, *item.port, item.package.kind);
        ofServer.emplace(item.package.kind, error);
        if (error) {
            Refuse(session, item, *error);
        }
        return error.has_value();
    };
    items.erase(std::remove_if(items.begin(), items.end(), refused), items.end());
}

std::optional<Repository> OpenRepository(Session& session) {
    auto repository = LoadRepository(session.options.repository);
    session.answer.errors.insert(session.answer.errors.end(), repository.errors.begin(),
                                 repository.errors.end());
    return std::move(repository.value);
}

/// What an installation of the utility has unpacked is needed to finish it, and an update would
/// take it away.
bool AwaitsRepair(Session& session) {
    auto& errors = session.answer.errors;
    const auto note = ReadRepairNote(session.Root());
    const bool silent = session.UtilityIsSilent();  // which has been told, with the remedy
    if (!note && silent) {
        errors.insert(errors.end(), note.errors.begin(), note.errors.end());
    }
    if (!note || !*note.value || silent) {
        return silent && (!note || *note.value);
    }
    auto broken = BrokenInstallation(session, **note.value);
    if (broken) {
        errors.push_back(*broken);
    }
    return broken.has_value();
}

std::vector<UpdateItem> PlanUpdate(Session& session, const Repository& repository,
                                   DriverState& drivers) {
    std::vector<UpdateItem> items = Planner(session, repository, drivers).Plan();
    LeaveOutLoneFunctions(session, items);
    RefuseDisagreement(session, items);
    return items;
}

}  // namespace

void Refuse(Session& session, const UpdateItem& item, Error error) {
    Component& view = item.View();
    view.outcome = Outcome::Failed;
    view.reason = error.message;
    error.deviceId = item.port->view.deviceId;
    error.kind = view.kind;
    Tell(session.answer.errors, std::move(error));
}

std::vector<UpdateItem> PrepareUpdate(Session& session, DriverState& drivers) {
    const auto repository = session.Open() ? OpenRepository(session) : std::nullopt;
    if (!repository || !session.Link()) {
        return {};
    }
    if (session.options.command->changing && !session.options.dryRun) {
        DropResultFiles(session.Root());
    }
    drivers.Load();
    session.ReadVersions(session.AllPorts());
    if (session.Stopped()) {
        return {};  // what has not been read would seem unreadable
    }
    if (AwaitsRepair(session)) {
        return {};
    }
    std::vector<UpdateItem> items = PlanUpdate(session, *repository, drivers);
    StagePackages(session, *repository, items);
    CheckConditions(session, items);
    return items;
}

}  // namespace qdmctl
