#include "lab/hbacmd/Adapters.h"

namespace {

constexpr size_t portFields = 8;

std::string StatePath(const std::string& name) {
    return std::string(stateFolder) + "/" + name;
}

std::string AdapterPath(unsigned adapter) {
    return StatePath("adapters/" + std::to_string(adapter));
}

unsigned NumberField(const std::string& text) {
    const std::optional<long> number = ParseNumber(text);
    if (!number || *number < 0) {
        throw std::runtime_error("damaged list of ports: " + text);
    }
    return static_cast<unsigned>(*number);
}

Port ParsePort(const std::string& line) {
    const std::vector<std::string> fields = SplitText(line, '\t');
    if (fields.size() != portFields) {
        throw std::runtime_error("damaged list of ports: " + line);
    }
    Port port;
    port.adapter = NumberField(fields[0]);
    port.family = fields[1];
    port.model = fields[2];
    port.serial = fields[3];
    port.wwpn = fields[4];
    port.number = NumberField(fields[5]);
    port.bus = NumberField(fields[6]);
    port.function = NumberField(fields[7]);
    return port;
}

std::string ReadState(const std::string& path) {
    std::optional<std::string> content = ReadWholeFile(path);
    if (!content) {
        throw std::runtime_error("cannot read " + path);
    }
    return *content;
}

}  // namespace

std::vector<Port> ReadPorts() {
    std::vector<Port> ports;
    for (const std::string& line : LinesOf(ReadState(StatePath("ports")))) {
        ports.push_back(ParsePort(line));
    }
    return ports;
}

Port FindPort(const std::string& wwpn) {
    constexpr int noSuchPort = 38;
    for (const Port& port : ReadPorts()) {
        if (port.wwpn == wwpn) {
            return port;
        }
    }
    throw Refusal(noSuchPort, "no HBA has the WWPN " + wwpn);
}

Facts ReadAdapter(unsigned adapter) {
    return ParseFacts(ReadState(AdapterPath(adapter)));
}

void WriteAdapter(unsigned adapter, const Facts& facts) {
    ReplaceFile(AdapterPath(adapter), FactsText(facts));
}

std::string AdapterLockFile(unsigned adapter) {
    return AdapterPath(adapter) + ".lock";
}

void Activate(Facts& facts) {
    facts["running.firmware"] = facts["flashed.firmware"];
    facts["running.bios"] = facts["flashed.bios"];
}

Facts ReadServerFacts(const char* name) {
    return ParseFacts(ReadState(StatePath(name)));
}
