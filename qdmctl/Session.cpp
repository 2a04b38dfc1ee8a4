#include "qdmctl/Session.h"

#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CUnzip_Utility.h"
#include "host/DllCommon/InstallRoot.h"
#include "qdmctl/Command.h"
#include "qdmctl/DeviceChoice.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/WorkAreaCheck.h"

#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <chrono>

namespace qdmctl {
namespace {

constexpr char PrivateFolder[] = "/tmp/qdmctl/";

bool IsOwnEmptyFolder(const std::string& folder) {
    struct stat status {};
    return ::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           OtherHands(status, ::geteuid()).empty() && OpenFolder(folder.c_str()).Next() == nullptr;
}

bool MakeAnew(const std::string& folder) {
    return CUnzip_Utility::DeleteFolder(folder, "qdmctl") && CFileUtility::CreateFolder(folder);
}

}  // namespace

Session::Session(const Options& options, Console& console, Answer& answer)
    : options(options), console(console), answer(answer), root(GetInstallRoot().path) {}

Session::~Session() {
    for (const std::string& folder : scratchFolders) {
        CUnzip_Utility::DeleteFolder(folder, "qdmctl");
    }
    if (answer.errors.empty() && !console.StopRequested()) {
        caches.Trust();
    }
}

void Session::AddError(ErrorId id, const std::string& message, const std::string& hint,
                       const PortSession* port) {
    Error error = MakeError(id, message, hint);
    error.deviceId = port != nullptr ? port->view.deviceId : std::string();
    answer.errors.push_back(std::move(error));
}

void Session::DropCaches() {
    CacheGuard::Drop(root);
    utilityFailed = false;
}

void Session::AddPortError(ErrorId id, const PortSession& port, const std::string& message,
                           const std::string& hint, const CallRecord& record,
                           const std::string& kind) {
    AddError(id, message, hint, &port);
    Error& error = answer.errors.back();
    error.kind = kind;
    error.lastError = record.LastError();
    error.messageId = record.MessageId();
}

std::vector<PortSession*> Session::AllPorts() {
    std::vector<PortSession*> all;
    for (PortSession& port : ports) {
        all.push_back(&port);
    }
    return all;
}

bool Session::Stopped() {
    if (!console.StopRequested()) {
        return false;
    }
    const bool told =
        std::any_of(answer.errors.begin(), answer.errors.end(),
                    [](const Error& error) { return error.id == ErrorId::Interrupted; });
    if (!told) {
        AddError(ErrorId::Interrupted, "the run was ended by the user",
                 "run the command again for what is missing");
    }
    return true;
}

bool Session::OpenWorkArea() {
    return CheckRights() && CheckWorkArea() && TakeLock();
}

bool Session::OpenPorts() {
    return LoadProvider() && FindPorts();
}

bool Session::CheckRights() {
    if (::geteuid() == 0) {
        return true;
    }
    AddError(ErrorId::NotRoot, std::string("qdmctl ") + options.command->name + " needs root",
             "run it again as root, for example with sudo");
    return false;
}

bool Session::CheckWorkArea() {
    if (!GetInstallRoot().refusal.empty()) {
        AddError(ErrorId::WorkArea, "QDM_INSTALL_PATH is refused: " + GetInstallRoot().refusal,
                 "unset it, or name an absolute path to a folder that belongs to root alone");
        return false;
    }
    auto error = CheckWorkFolders(root);
    if (!error && !WrittenBefore()) {
        error = CheckScratchWritable(root);
    }
    if (!error && options.command->changing) {
        error = CheckStateWritable(root);
    }
    if (error) {
        answer.errors.push_back(std::move(*error));
    }
    return !error;
}

/// A run that has ended well has written there; to make a file once more costs a reading run much
/// of its time.
bool Session::WrittenBefore() const {
    return !options.command->changing && CacheGuard::LeftAtRest(root) && HasSpaceToSpare(root);
}

bool Session::TakeLock() {
    const auto stopped = [this] { return console.StopRequested(); };
    const auto taken = options.command->changing
                           ? lock.AcquireChanging(root, options.command->name, stopped)
                           : lock.AcquireReading(root, stopped);
    switch (taken) {
        case RunLock::Result::Held:
            caches.Begin(root);
            return true;
        case RunLock::Result::Busy:
            AddError(ErrorId::Busy, lock.Text() + " is at work", "wait until it has ended");
            return false;
        case RunLock::Result::Stopped:
            AddError(ErrorId::Interrupted, "the run was ended by the user before it began",
                     "nothing has been changed");
            return false;
        case RunLock::Result::Failed:
            break;
    }
    AddError(lock.DiskFull() ? ErrorId::DiskFull : ErrorId::WorkArea, lock.Text(),
             lock.DiskFull() ? "free some space on that disk; nothing has been changed"
                             : "make " + root + " writable for root");
    return false;
}

bool Session::LoadProvider() {
    auto loaded = LoadDescriptor(root + "/" + descriptorFile);
    if (!loaded) {
        answer.errors.insert(answer.errors.end(), loaded.errors.begin(), loaded.errors.end());
        return false;
    }
    descriptor = std::move(*loaded.value);
    UseArchitecture(descriptor, CCommon_Information::GetArchitectureInfo("qdmctl"));
    const std::string file = descriptor.folder + "/" + descriptor.library;
    const std::string distrust = DistrustOf(file);
    const std::string reason = distrust.empty() ? library.Open(file) : file + " " + distrust;
    if (!reason.empty()) {
        AddError(ErrorId::WorkArea, "the provider cannot be loaded: " + reason,
                 "install the provider again; its files belong to root alone");
    }
    return reason.empty();
}

bool Session::FindPorts() {
    auto discovery = DiscoverPorts(descriptor);
    if (!discovery) {
        answer.errors.insert(answer.errors.end(), discovery.errors.begin(), discovery.errors.end());
        return false;
    }
    for (DiscoveredPort& found : discovery.value->ports) {
        PortSession port;
        port.view.deviceId = found.id.Text();
        serverDeviceIds.push_back(port.view.deviceId);
        port.view.vendorClass = found.model->vendorClass;
        port.view.modelKey = found.model->modelKey;
        port.view.pci =
            PciLocation{found.id.address.bus, found.id.address.device, found.id.address.function};
        port.found = std::move(found);
        ports.push_back(std::move(port));
    }
    if (!ports.empty()) {
        return KeepChosen(options.devices, false);
    }
    std::string seen;
    for (const std::string& note : discovery.value->notes) {
        seen += "; " + note;
    }
    AddError(ErrorId::NoAdapter, "this server has no adapter that the provider supports" + seen,
             "check with lspci that the adapter is seated and seen by the kernel");
    return false;
}

bool Session::KeepChosen(const std::vector<std::string>& wanted, bool byWwpn) {
    if (wanted.empty()) {
        return true;
    }
    std::vector<Port> views;
    for (const PortSession& port : ports) {
        views.push_back(port.view);
    }
    const DeviceChoice choice = ChooseDevices(wanted, views, byWwpn);
    if (choice.error) {
        answer.errors.push_back(*choice.error);
        ports.clear();
        return false;
    }
    ports.erase(std::remove_if(ports.begin(), ports.end(),
                               [&](const PortSession& port) {
                                   return choice.deviceIds.count(port.view.deviceId) == 0;
                               }),
                ports.end());
    return true;
}

void Session::Publish() {
    answer.ports.clear();
    for (const PortSession& port : ports) {
        answer.ports.push_back(port.view);
    }
}

std::string Session::ScratchFolder(const std::string& name) {
    const std::string folder = root + PrivateFolder + name;
    scratchFolders.push_back(folder);
    return MakeAnew(folder) ? folder : std::string();
}

std::string Session::ReportFolder() const {
    const std::string folder = root + PrivateFolder + "report";
    return IsOwnEmptyFolder(folder) || MakeAnew(folder) ? folder : std::string();
}

Step Session::ReadingStep(const std::string& phase, const PortSession* port) const {
    Step step;
    step.phase = phase;
    step.device = port != nullptr ? port->view.deviceId : std::string();
    step.deadlineMs = options.readTimeoutSeconds * 1000;
    return step;
}

bool Session::Reading(const Step& step, const std::function<void()>& call) {
    using Clock = std::chrono::steady_clock;
    const auto begun = Clock::now();
    const StepScope running(console, step);
    call();
    return Clock::now() - begun < std::chrono::milliseconds(step.deadlineMs);
}

}  // namespace qdmctl
