#include "lab/hbacmd/Tool.h"

#include <exception>

#include "lab/hbacmd/Adapters.h"
#include "lab/hbacmd/CallLog.h"
#include "lab/hbacmd/Download.h"
#include "lab/hbacmd/Fault.h"
#include "lab/hbacmd/Reply.h"

namespace {

constexpr int statusRefused = 1;
constexpr int statusUsage = 2;
constexpr int internalFailure = 1;
constexpr int busyFailure = 64;

struct Call {
    std::vector<std::string> operands;
    const Faults& faults;
    Reply& reply;
};

/// What a tool tells that answers in the right form with what is not so.
constexpr const char* wrongVersion = "9.9.9.9";

/// An adapter of another server.
std::string ToldWwpn(const Call& call, const Port& port) {
    return call.faults.Has("wrong") ? "10:00:00:11:22:33:44:55" : port.wwpn;
}

std::string ToldVersion(const Call& call, const std::string& version) {
    return call.faults.Has("wrong") ? wrongVersion : version;
}

/// Blocks of one port each; readers of such listings count on the columns.
void ListPorts(const Call& call) {
    constexpr size_t colon = 15;
    const std::vector<Port> ports = ReadPorts();
    call.reply.Line(ports.empty() ? "No manageable HBAs found" : "Manageable HBA List");
    for (const Port& port : ports) {
        Reply& reply = call.reply;
        reply.Line("");
        reply.Field("Port WWN", colon, ToldWwpn(call, port));
        reply.Field("Node WWN", colon, "2" + port.wwpn.substr(1));
        reply.Field("Fabric Name", colon, "00:00:00:00:00:00:00:00");
        reply.Field("Flags", colon, "8000f980");
        reply.Field("Host Name", colon, "server");
        reply.Field("Mfg", colon, "Emulex Corporation");
        reply.Field("Serial No.", colon, port.serial);
        reply.Field("Port Number", colon, std::to_string(port.number));
        reply.Field("Mode", colon, "Initiator");
        reply.Field("PCI Bus Number", colon, std::to_string(port.bus));
        reply.Field("PCI Function", colon, std::to_string(port.function));
        reply.Field("Port Type", colon, "FC");
        reply.Field("Model", colon, port.model);
    }
}

void ShowAttributes(const Call& call) {
    constexpr size_t colon = 17;
    const Port port = FindPort(call.operands[0]);
    const Facts facts = ReadAdapter(port.adapter);
    Reply& reply = call.reply;
    reply.Line("HBA Attributes for " + ToldWwpn(call, port) + "\n");
    reply.Field("Host Name", colon, "server");
    reply.Field("Manufacturer", colon, "Emulex Corporation");
    reply.Field("Serial Number", colon, port.serial);
    reply.Field("Model", colon, port.model);
    reply.Field("Node WWN", colon, "2" + port.wwpn.substr(1));
    reply.Field("HW Version", colon, "0000000b");
    reply.Field("FW Version", colon, ToldVersion(call, FactOf(facts, "running.firmware")));
    reply.Field("Boot Version", colon, ToldVersion(call, FactOf(facts, "running.bios")));
    reply.Field("Driver Name", colon, "lpfc");
    reply.Field("Driver Version", colon,
                FactOf(ReadServerFacts("driver"), "loaded") + "; management interface 2.3");
    reply.Field("Number of Ports", colon, "1");
    reply.Field("Port Type", colon, "FC");
}

void DownloadImage(const Call& call) {
    Download(call.operands[0], call.operands[1], call.faults, call.reply);
}

void Reset(const Call& call) {
    ResetAdapter(call.operands[0], call.reply);
}

void ShowVersion(const Call& call) {
    const Facts facts = ParseFacts(ReadWholeFile(toolVersionFile).value_or(""));
    call.reply.Line("Command Line Interface Version: " +
                    ToldVersion(call, FactOf(facts, "version")) + " (build 1)");
}

struct Verb {
    const char* name;
    const char* operands;
    size_t count;
    void (*run)(const Call&);
};

constexpr Verb verbs[] = {{"listhbas", "", 0, ListPorts},
                          {"HbaAttributes", " WWPN", 1, ShowAttributes},
                          {"Download", " WWPN IMAGE", 2, DownloadImage},
                          {"Reset", " WWPN", 1, Reset},
                          {"version", "", 0, ShowVersion}};

const Verb* FindVerb(const std::vector<std::string>& arguments) {
    for (const Verb& verb : verbs) {
        if (!arguments.empty() && arguments[0] == verb.name) {
            return arguments.size() == verb.count + 1 ? &verb : nullptr;
        }
    }
    return nullptr;
}

int ShowUsage(Reply& reply) {
    reply.Line("Usage:");
    for (const Verb& verb : verbs) {
        reply.Line(std::string("  hbacmd ") + verb.name + verb.operands);
    }
    return statusUsage;
}

int RunVerb(const Verb& verb, const Call& call) {
    try {
        verb.run(call);
        return 0;
    } catch (const Refusal& refusal) {
        call.reply.Error(refusal.code, refusal.what());
    } catch (const std::exception& error) {
        call.reply.Error(internalFailure, error.what());
    }
    return statusRefused;
}

/// Runs the verb between the faults that strike before and behind it.
int RunFaulty(const Verb& verb, const Call& call) {
    const bool busy = call.faults.Has("error64");
    if (busy || call.faults.Has("error")) {
        call.reply.Error(busy ? busyFailure : internalFailure, "the adapter does not answer");
        return statusRefused;
    }
    const int status = RunVerb(verb, call);
    if (call.faults.Has("effect-then-fail")) {
        call.reply.Discard();
        call.reply.Error(internalFailure, "the adapter does not answer any more");
        return statusRefused;
    }
    return status;
}

/// A download hangs while it flashes, everything else before it says a word.
void Delay(const Verb& verb, const Faults& faults) {
    if (const Fault* const delay = faults.Find("delay")) {
        PauseMilliseconds(delay->Number(0));
    }
    if (faults.Has("hang") && verb.run != DownloadImage) {
        HangForever();
    }
}

}  // namespace

int RunTool(const std::vector<std::string>& arguments) {
    const CallLog log(arguments);
    const Verb* const verb = FindVerb(arguments);
    const Faults faults = verb != nullptr ? TakeFaults(verb->name) : Faults();
    Reply reply(faults);
    int status = statusUsage;
    if (verb == nullptr) {
        status = ShowUsage(reply);
    } else {
        Delay(*verb, faults);
        const Call call = {{arguments.begin() + 1, arguments.end()}, faults, reply};
        status = RunFaulty(*verb, call);
    }
    status = reply.Finish(status);
    log.End(status);
    return status;
}
