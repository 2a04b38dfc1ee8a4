#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "qdmctl/ConfigReport.h"
#include "qdmctl/Reasons.h"
#include "qdmctl/Session.h"

#include <algorithm>

namespace qdmctl {
namespace {

/// A reading that fails in time is repeated once.
constexpr int Attempts = 2;
constexpr char OutOfTime[] = "it did not answer in time and was ended";

/// The provider's word for a port whose attributes could not be fetched, unlike those that have an
/// unexpected form.
bool AttributesFailed(const CallRecord& record) {
    return std::any_of(record.Details().begin(), record.Details().end(),
                       [](const std::string& line) {
                           return line.find("GetHbaAttribData return:") != std::string::npos;
                       });
}

}  // namespace

void Session::ReadVersions(const std::vector<PortSession*>& wanted) {
    std::vector<PortSession*> read;
    for (PortSession* port : wanted) {
        if (port->usable && !Stopped() && ReadPortVersions(*port)) {
            read.push_back(port);
        }
    }
    for (PortSession* port : wanted) {
        if (port->usable && !Stopped()) {
            ReadUtility(*port);
        }
    }
    ReadBootBios(read);
    for (PortSession* port : read) {
        ForgetDoubtful(*port);
    }
}

/// A port whose attributes cannot be fetched costs two attempts, not some for each version: the
/// first may have met an answer of an earlier run.
bool Session::ReadPortVersions(PortSession& port) {
    bool inTime = true;
    std::string reason;
    for (int attempt = 0; attempt < Attempts && inTime; ++attempt) {
        const CallRecord record;
        inTime = ReadAttributes(port, record);
        if (inTime && !AttributesFailed(record)) {
            return true;
        }
        reason = inTime ? ReasonOfReading(record) : OutOfTime;
    }
    port.view.versions = {};
    if (!console.StopRequested()) {
        AddPortError(ErrorId::ToolFailed, port,
                     "the adapter tool did not give this port's attributes: " + reason,
                     "reading changes nothing; run \"hbacmd HbaAttributes\" for its WWPN by hand "
                     "and see what it answers, then try again",
                     CallRecord());
    }
    return false;
}

/// An answer that lacks one of the versions was cut short: none of it is trusted.
bool Session::ReadAttributes(PortSession& port, const CallRecord& record) {
    Versions& versions = port.view.versions;
    return Reading(ReadingStep("reading versions", &port), [&] {
        CFirmware* firmware = port.vendor->GetFirmwareModule();
        CDriver* driver = port.vendor->GetDriverModule();
        versions.firmware = firmware != nullptr ? firmware->GetOperatingVersion() : "";
        const bool answered = !AttributesFailed(record);
        versions.driver = answered && driver != nullptr ? driver->GetOperatingVersion() : "";
    });
}

/// The tool has one version for the whole server: a failure is told once, and no further port asks.
void Session::ReadUtility(PortSession& port) {
    for (CUtility* utility : port.vendor->GetUtilityModules()) {
        if (!utilityFailed) {
            ReadUtility(port, *utility);
        }
    }
}

void Session::ReadUtility(PortSession& port, CUtility& utility) {
    std::string& version = port.view.versions.utility;
    std::string reason;
    bool inTime = true;
    for (int attempt = 1; attempt <= Attempts && inTime; ++attempt) {
        const CallRecord record;
        inTime = Reading(ReadingStep("reading versions", &port),
                         [&] { version = utility.GetOperatingVersion(); });
        if (!IsUnreadable(version)) {
            return;
        }
        reason = inTime ? ReasonOfReading(record) : OutOfTime;
        if (attempt < Attempts && inTime) {
            utility.UpdateRestore({});
        }
    }
    TellUtilityFailure(reason);
}

void Session::TellUtilityFailure(const std::string& reason) {
    if (utilityFailed || console.StopRequested()) {
        return;
    }
    utilityFailed = true;
    AddError(ErrorId::ToolFailed, "the adapter tool did not tell its own version: " + reason,
             "the adapters are not concerned; run \"hbacmd version\" by hand and see what it "
             "answers, then try again");
    answer.errors.back().kind = "util";
}

/// A version of unknown form may be a damaged answer: the next run shall not find it kept.
void Session::ForgetDoubtful(PortSession& port) {
    CFirmware* firmware = port.vendor->GetFirmwareModule();
    if (firmware != nullptr && IsUnreadable(port.view.versions.firmware)) {
        firmware->UpdateRestore({});
    }
}

/// The boot BIOS version shows in the configuration report alone.
void Session::ReadBootBios(const std::vector<PortSession*>& read) {
    const std::string folder = read.empty() ? std::string() : ScratchFolder("report");
    if (folder.empty()) {
        return;
    }
    std::vector<CVendor*> vendors;
    vendors.reserve(read.size());
    for (const PortSession* port : read) {
        vendors.push_back(port->vendor.get());
    }
    std::vector<ReportedPort> reported;
    Reading(ReadingStep("reading versions", nullptr),
            [&] { reported = CollectReport(vendors, folder + "/"); });
    for (std::size_t i = 0; i < read.size() && i < reported.size(); ++i) {
        read[i]->view.versions.bootBios = reported[i].bootBios;
    }
}

}  // namespace qdmctl
