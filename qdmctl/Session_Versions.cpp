#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "qdmctl/AttributeAnswer.h"
#include "qdmctl/Command.h"
#include "qdmctl/ConfigReport.h"
#include "qdmctl/Reasons.h"
#include "qdmctl/RepairNote.h"
#include "qdmctl/Session.h"

#include <algorithm>
#include <set>

namespace qdmctl {
namespace {

/// A reading that fails in time is repeated once.
constexpr int Attempts = 2;
constexpr char OutOfTime[] = "it did not answer in time and was ended";
constexpr char OfOtherPort[] = "its answer is not of this port, or has an unknown form";
constexpr char ReaderLost[] = "the process that asked it was ended by somebody else";

/// The provider's word for a port whose attributes could not be fetched, unlike those that have an
/// unexpected form.
bool AttributesFailed(const CallRecord& record) {
    return std::any_of(record.Details().begin(), record.Details().end(),
                       [](const std::string& line) {
                           return line.find("GetHbaAttribData return:") != std::string::npos;
                       });
}

/// Reads the version anew and leaves it with the module, so that the report does not read it once
/// more.
std::string ReadVersion(CModuleManager& module) {
    module.SetUpdateProgress(module.GetUpdateProgress());  // drops the one that was left
    return module.GetOperatingVersionCache();
}

/// An answer that lacks one of the versions was cut short: none of it is trusted.
void ReadAttributes(PortSession& port, const CallRecord& record) {
    Versions& versions = port.view.versions;
    CFirmware* firmware = port.vendor->GetFirmwareModule();
    CDriver* driver = port.vendor->GetDriverModule();
    versions.firmware = firmware != nullptr ? ReadVersion(*firmware) : "";
    const bool answered = !AttributesFailed(record);
    versions.driver = answered && driver != nullptr ? ReadVersion(*driver) : "";
}

/// Two processes must not write one file, whatever the listing says.
std::vector<PortSession*> WithFilesOfTheirOwn(const std::vector<PortSession*>& wanted) {
    std::vector<PortSession*> ports;
    std::set<std::string> names;
    for (PortSession* port : wanted) {
        if (port->usable && names.insert(port->view.wwpn).second) {
            ports.push_back(port);
        }
    }
    return ports;
}

/// Errors of ports stand before those of the server, in whatever order they were found.
void PutPortsFirst(std::vector<Error>& errors, std::size_t from) {
    const auto begin = errors.begin() + static_cast<std::ptrdiff_t>(from);
    std::stable_partition(begin, errors.end(),
                          [](const Error& error) { return !error.deviceId.empty(); });
}

}  // namespace

void Session::ReadVersions(const std::vector<PortSession*>& wanted) {
    const std::size_t toldBefore = answer.errors.size();
    if (options.jobs > 1) {
        // What every port needs is there before they are asked beside each other.
        ReadUtilities(wanted);
        FillCaches(wanted);
    }
    std::vector<PortSession*> read;
    for (PortSession* port : wanted) {
        if (port->usable && MayRead(*port) && ReadPortVersions(*port)) {
            read.push_back(port);
        }
    }
    ReadUtilities(wanted);
    PutPortsFirst(answer.errors, toldBefore);
    ReadBootBios(read);
    for (PortSession* port : read) {
        // A version of unknown form may be a damaged answer: the next run shall not find it kept.
        if (IsUnreadable(port->view.versions.firmware)) {
            ForgetAttributes(*port);
        }
    }
}

/// Has the tool write the ports' attributes into the provider's cache, several ports at a time.
void Session::FillCaches(const std::vector<PortSession*>& wanted) {
    const auto ports = WithFilesOfTheirOwn(wanted);
    Step step = ReadingStep("reading versions", nullptr);
    ParallelRead filling({std::min<std::size_t>(options.jobs, ports.size()),
                          std::chrono::milliseconds(step.deadlineMs), root + "/tmp"},
                         [&](std::size_t number) {
                             const CallRecord record;
                             ReadAttributes(*ports[number], record);
                             return !AttributesFailed(record);
                         });
    step.deadlineMs = 0;
    step.guarded = true;
    const StepScope running(console, step);
    const auto outcomes = filling.Run(ports.size(), [this] { return console.StopRequested(); });
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ports[i]->filled = outcomes[i];
    }
}

/// Whether the port is to be read now: from its cache, which costs no call, or by a call of the
/// tool, which may answer alone what it has refused beside others.
bool Session::MayRead(PortSession& port) {
    const bool outOfTime = port.filled == ParallelRead::Outcome::OutOfTime;
    if (!outOfTime && port.filled != ParallelRead::Outcome::Lost) {
        return port.filled == ParallelRead::Outcome::Done || !Stopped();
    }
    // Half an answer may be there: after a run with errors the next one begins without caches.
    TellAttributesFailure(port, outOfTime ? OutOfTime : ReaderLost);
    return false;
}

/// A port whose attributes cannot be fetched costs two attempts, not some for each version: the
/// first may have met an answer of an earlier run.
bool Session::ReadPortVersions(PortSession& port) {
    bool inTime = true;
    std::string reason;
    for (int attempt = 0; attempt < Attempts && inTime; ++attempt) {
        const CallRecord record;
        inTime =
            Reading(ReadingStep("reading versions", &port), [&] { ReadAttributes(port, record); });
        const bool answered = inTime && !AttributesFailed(record);
        if (answered && !NamesOtherPort(root, port.view.wwpn)) {
            return true;
        }
        reason = inTime ? ReasonOfReading(record) : OutOfTime;
        if (answered) {
            reason = OfOtherPort;
            ForgetAttributes(port);
        }
    }
    port.view.versions = {};
    TellAttributesFailure(port, reason);
    return false;
}

void Session::TellAttributesFailure(PortSession& port, const std::string& reason) {
    if (console.StopRequested()) {
        return;
    }
    AddPortError(ErrorId::ToolFailed, port,
                 "the adapter tool did not give this port's attributes: " + reason,
                 "reading changes nothing; run \"hbacmd HbaAttributes\" for its WWPN by hand "
                 "and see what it answers, then try again",
                 CallRecord());
}

void Session::ReadUtilities(const std::vector<PortSession*>& wanted) {
    for (PortSession* port : wanted) {
        if (port->usable && !Stopped()) {
            ReadUtility(*port);
        }
    }
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
                         [&] { version = ReadVersion(utility); });
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
    const bool told = std::any_of(
        answer.errors.begin(), answer.errors.end(),
        [](const Error& error) { return error.id == ErrorId::ToolFailed && error.kind == "util"; });
    if (told) {
        return;  // before the caches were dropped
    }
    const std::string advice = RepairAdvice(root);
    AddError(ErrorId::ToolFailed, "the adapter tool did not tell its own version: " + reason,
             advice.empty() ? "the adapters are not concerned; run \"hbacmd version\" by hand and "
                              "see what it answers, then try again"
                            : "the adapters are not concerned; " + advice);
    answer.errors.back().kind = "util";
}

void Session::ForgetAttributes(PortSession& port) {
    CFirmware* firmware = port.vendor->GetFirmwareModule();
    if (firmware != nullptr) {
        firmware->UpdateRestore({});
    }
}

/// The boot BIOS version shows in the configuration report alone.
void Session::ReadBootBios(const std::vector<PortSession*>& read) {
    if (read.empty()) {
        return;
    }
    const std::vector<ReportedPort> reported = ReadReport(read);
    for (std::size_t i = 0; i < read.size() && i < reported.size(); ++i) {
        read[i]->view.versions.bootBios = reported[i].bootBios;
    }
    // A change is judged by what it changes.
    if (reported.size() < read.size() && !options.command->changing && !console.StopRequested()) {
        AddError(ErrorId::WorkArea,
                 "the boot BIOS versions are not known: the provider has left no report below " +
                     root + "/tmp/qdmctl",
                 "make that folder writable for root, free some space on its disk, and try again");
    }
}

/// In the order of the ports; none where the provider could not write its report.
std::vector<ReportedPort> Session::ReadReport(const std::vector<PortSession*>& read) {
    const std::string folder = ReportFolder();
    if (folder.empty()) {
        return {};
    }
    std::vector<CVendor*> vendors;
    vendors.reserve(read.size());
    for (const PortSession* port : read) {
        vendors.push_back(port->vendor.get());
    }
    std::vector<ReportedPort> reported;
    Reading(ReadingStep("reading versions", nullptr),
            [&] { reported = CollectReport(vendors, folder).ports; });
    return reported;
}

}  // namespace qdmctl
