#include "lab/hbacmd/Fault.h"

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "lab/hbacmd/Files.h"

namespace {

std::vector<Fault> ParseFaults(const std::string& text) {
    constexpr size_t faultFields = 4;
    std::vector<Fault> faults;
    for (const std::string& line : LinesOf(text)) {
        const std::vector<std::string> fields = SplitText(line, ' ');
        if (fields.size() == faultFields) {
            faults.push_back(
                {fields[0], fields[1], fields[2], ParseNumber(fields[3]).value_or(-1)});
        }
    }
    return faults;
}

std::string FaultsText(const std::vector<Fault>& faults) {
    std::string text;
    for (const Fault& fault : faults) {
        text += fault.verb + " " + fault.kind + " " + fault.value + " " +
                std::to_string(fault.remaining) + "\n";
    }
    return text;
}

bool Strikes(const Fault& fault, const std::string& verb) {
    return fault.remaining != 0 && (fault.verb == verb || fault.verb == "all");
}

/// Moves the faults that strike into the result, each counted down in the list.
std::vector<Fault> CountDown(std::vector<Fault>& faults, const std::string& verb, bool& counted) {
    std::vector<Fault> striking;
    for (Fault& fault : faults) {
        if (!Strikes(fault, verb)) {
            continue;
        }
        striking.push_back(fault);
        counted = counted || fault.remaining > 0;
        fault.remaining -= fault.remaining > 0 ? 1 : 0;
    }
    return striking;
}

}  // namespace

long Fault::Number(long fallback) const {
    return ParseNumber(value).value_or(fallback);
}

const Fault* Faults::Find(const char* kind) const {
    for (const Fault& fault : faults) {
        if (fault.kind == kind) {
            return &fault;
        }
    }
    return nullptr;
}

Faults TakeFaults(const std::string& verb) {
    const std::string path = std::string(stateFolder) + "/faults";
    if (access(path.c_str(), F_OK) != 0) {
        return {};
    }
    const FileLock lock(path + ".lock");
    std::vector<Fault> faults = ParseFaults(ReadWholeFile(path).value_or(""));
    bool counted = false;
    std::vector<Fault> striking = CountDown(faults, verb, counted);
    if (counted) {
        ReplaceFile(path, FaultsText(faults));
    }
    return Faults(std::move(striking));
}

void HangForever() {
    for (;;) {
        pause();
    }
}

void Crash() {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    std::signal(SIGSEGV, SIG_DFL);
    std::raise(SIGSEGV);
    std::abort();
}
