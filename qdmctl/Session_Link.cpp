#include "host/CNecessaryComponentInfo.h"
#include "host/CVendor.h"
#include "qdmctl/Reasons.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <list>
#include <utility>

namespace qdmctl {
namespace {

constexpr char ListingFailedMessage[] = "MSGID_EMULEXCOMMON_0001_F";
constexpr std::size_t WwpnDigits = 16;

/// The provider tries a listing so often by itself.
constexpr unsigned ListingAttempts = 5;

bool IsWwpn(const std::string& text) {
    return text.size() == WwpnDigits &&
           text.find_first_not_of("0123456789ABCDEF") == std::string::npos;
}

std::string Wwpn(CVendor& vendor) {
    std::list<std::pair<std::string, std::string>> info;
    vendor.GetExtendedInfo(&info);
    const auto found = std::find_if(info.begin(), info.end(),
                                    [&](const auto& pair) { return pair.first == "WWPN"; });
    return found == info.end() ? std::string() : found->second;
}

std::list<CNecessaryComponentInfo> MissingComponents(CVendor& vendor) {
    std::list<CNecessaryComponentInfo> missing;
    vendor.GetShortageOfNecessaryApplicationInfo(missing);
    return missing;
}

}  // namespace

bool Session::Link() {
    for (PortSession& port : ports) {
        if (!MakeVendor(port)) {
            return false;
        }
    }
    if (ports.empty() || !ToolPresent()) {
        return false;
    }
    for (PortSession& port : ports) {
        // A listing that fails is deleted, so every further port would run it again, up to its time
        // limit.
        if (Stopped() || !LinkPort(port)) {
            return false;
        }
    }
    return KeepChosen(options.devices, true);
}

bool Session::MakeVendor(PortSession& port) {
    Reading(ReadingStep("identifying", &port), [&] {
        port.vendor =
            library.Make(port.view.vendorClass, descriptor.vendorFamily, port.view.deviceId);
    });
    if (!port.vendor) {
        AddError(ErrorId::Internal, "the provider knows no vendor class " + port.view.vendorClass,
                 "descriptor and provider do not belong together; install the provider again",
                 &port);
        return false;
    }
    port.view.reportedModelKey = port.vendor->GetModelKey();
    port.view.modelKey = MatchKey(*port.found.model, port.found, port.view.reportedModelKey);
    return true;
}

bool Session::ToolIsMissing() {
    return !ports.empty() && ports.front().vendor &&
           !MissingComponents(*ports.front().vendor).empty();
}

bool Session::ToolPresent() {
    const auto missing = MissingComponents(*ports.front().vendor);
    const std::string advice = missing.empty() ? std::string() : RepairAdvice(root);
    for (const CNecessaryComponentInfo& component : missing) {
        AddError(ErrorId::ToolMissing, component.name + " is not installed",
                 advice.empty() ? "install the adapter maker's management utility; the adapters "
                                  "can be neither read nor updated without it"
                                : advice);
    }
    return missing.empty();
}

bool Session::LinkPort(PortSession& port) {
    // The first port's look-up has the adapters listed for all; the others tell nothing of that.
    const CallRecord record(&port == &ports.front() ? ListingLevels : FailureLevels);
    bool inTime = ListAdapters(port);
    bool failed = record.Has(ListingFailedMessage);
    std::string wwpn = Wwpn(*port.vendor);
    if (!failed && !listedAgain && wwpn.empty()) {
        // The listing may be one of before, or cut short; the provider has dropped it.
        listedAgain = true;
        inTime = MakeVendor(port) && ListAdapters(port);
        failed = record.Has(ListingFailedMessage);
        wwpn = Wwpn(*port.vendor);
    }
    if (failed && wwpn.empty()) {
        const std::string advice = RepairAdvice(root);
        AddError(ErrorId::ListingFailed,
                 "the adapter tool could not list the adapters: " +
                     (inTime ? ReasonOfListing(record) : "it did not answer in time") +
                     "; stopped at " + port.view.deviceId + ", no further port was tried",
                 advice.empty() ? "nothing has been changed; run \"hbacmd listhbas\" by hand and "
                                  "see what it answers, then try again"
                                : "nothing has been changed; " + advice);
        answer.errors.back().messageId = ListingFailedMessage;
        return false;
    }
    Identify(port, wwpn, record);
    return true;
}

bool Session::ListAdapters(PortSession& port) {
    Step step = ReadingStep("listing adapters", &port);
    step.deadlineMs *= ListingAttempts;
    return Reading(step, [&] { port.vendor->LinkDevice(); });
}

/// The WWPN reaches shell lines that run as root: nothing of a port is used before it has the one
/// form it may have.
void Session::Identify(PortSession& port, const std::string& wwpn, const CallRecord& record) {
    if (IsWwpn(wwpn)) {
        port.view.wwpn = wwpn;
        port.usable = true;
        return;
    }
    if (wwpn.empty()) {
        AddPortError(ErrorId::ToolFailed, port,
                     "the adapter tool lists no port at this PCI address",
                     "the port is left alone; check that the adapter's driver is loaded and that "
                     "\"hbacmd listhbas\" shows the port",
                     record);
    } else {
        AddPortError(ErrorId::ToolFailed, port,
                     "the adapter tool gives a WWPN of an unknown form for this port",
                     "the port is left alone; run \"hbacmd listhbas\" by hand and see what it "
                     "answers; qdmctl asks again when its last listing is an hour old",
                     record);
    }
}

}  // namespace qdmctl
