#include "tests/unit/PortTest.h"

PortTest::PortTest() {
    host.Write(host.Cache("made"), "");  // a vendor object makes the folders
    host.Write(host.Temp("made"), "");
    host.pci[device] = {3, 0, 0};
    host.run = [this](const HostCommand& command) { return Answer(command.line); };
}

std::string PortTest::ListRecord(const std::string& addressLine, int function) {
    return addressLine + "\nPort Number    : 0\nPCI Bus Number : 3\nPCI Function   : " +
           std::to_string(function) + "\nPort Type      : FC\nSerial No.     : S1\n";
}

Ran PortTest::Answer(const std::string& line) {
    const auto asks = [&](const char* verb) { return line.find(verb) != std::string::npos; };
    if (asks(" Download ")) {
        Ran next = downloads.at(0);
        if (downloads.size() > 1) {
            downloads.erase(downloads.begin());
        }
        return next;
    }
    return {asks(" listhbas ")        ? list
            : asks(" HbaAttributes ") ? attributes
            : asks(" version ")       ? version
                                      : ""};
}

int PortTest::Runs(const std::string& verb) const {
    int runs = 0;
    for (const std::string& line : host.CommandLines()) {
        runs += line.find(" " + verb + " ") != std::string::npos ? 1 : 0;
    }
    return runs;
}
