#pragma once

#include "tests/unit/HostDouble.h"

#include <string>
#include <vector>

/// A server with one adapter port at 3/0/0, and the adapter tool that tells of it.
class PortTest : public HostTest {
protected:
    PortTest();

    /// The port's record in the adapter list.
    static std::string ListRecord(const std::string& addressLine, int function = 0);

    /// Command lines that hold `verb`.
    int Runs(const std::string& verb) const;

    const std::string device = "0000:03:00.0-10df-e200";
    const std::string wwpn = "10:00:00:00:c9:ab:cd:ef";
    const std::string port = "[" + device + "] [" + wwpn + "]";  ///< as traces name it
    const std::string tool = "/usr/sbin/ocmanager/hbacmd";
    const std::string attributeFile = "HbaAttrib10-00-00-00-c9-ab-cd-ef.txt";

    // What the tool prints.
    std::string list = ListRecord("Port WWN       : " + wwpn);
    std::string attributes =
        "Driver Version : 11.2.0.5a\nFW Version     : 11.2.156.27\nBoot Version   : 2.02a4\n";
    std::string version = "Command Line Interface Version: 10.2.370.16 (build)\n";
    std::vector<Ran> downloads;  ///< one after another, the last one again

private:
    Ran Answer(const std::string& line);
};
