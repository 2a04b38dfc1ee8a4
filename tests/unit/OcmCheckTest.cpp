#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "tests/unit/PortTest.h"

#include <algorithm>

namespace {

const std::string discovery =
    "ClientRemoteOperation:disabled\nClientOperationMode:enabled\n"
    "ClientReadOnlyOperation:disabled\nTcpSocketPortNumber:23333\n";
const std::string management =
    "ServerRemoteOperation:enabled\nManagementHost:false\nSecureManagement:disabled\n"
    "MngmtHostIpAddress:0\nExclusiveHostMgmnt:false\n";

const std::string discoveryRefused = "1 0 < iDiskKeyWordCount ) || ( iRet != true )";
const std::string managementRefused = "1 ( 0 < iRmKeyWordCount ) || ( iRet != true )";

class OcmCheckTest : public PortTest {
protected:
    OcmCheckTest() {
        host.run = [this](const HostCommand& command) {
            return command.line == query ? package : Ran{version};
        };
    }
    bool Check(const std::string& disc, const std::string& rm) {
        host.Write(host.Etc("emulexDiscConfig"), disc);
        host.Write(host.Etc("emulexRMConfig"), rm);
        host.commands.clear();
        host.traces.clear();
        return module.OCMInstallCheck();
    }
    std::string LastDetail() const { return *(host.Details().rbegin() + 1); }

    const std::string found = host.Temp("rpm_grep_result.txt");
    const std::string query = "rpm -qa | grep elxocmjvm-..........rpm;echo $? > " + found;
    Ran package = {"1\n"};
    CEMULEX_OCM_Utility module{device};
};

// The text with its first `from` replaced.
std::string With(std::string text, const std::string& from, const std::string& to) {
    return text.replace(text.find(from), from.size(), to);
}

TEST_F(OcmCheckTest, EveryLineWithAKeyMustBeThatSetting) {
    const auto disc = [](const char* from, const char* to) { return With(discovery, from, to); };
    const auto rm = [](const char* from, const char* to) { return With(management, from, to); };
    struct Row {
        std::string discovery, management;
        const char* refused;  ///< the line that is not as required
        bool passes = false;
    } rows[] = {
        {disc("ClientOperationMode:", " Client OperationMode : "), management, "", true},
        {"# head\n\n" + discovery + "ClientRemoteOperation:wrong\n", management, "", true},
        {discovery, "Other:1\n" + management + "ManagementHost:true", "", true},
        {discovery, management.substr(0, management.size() - 1), "", true},
        // A line that stands twice passes for one that is absent.
        {disc("TcpSocketPortNumber:23333", "ClientOperationMode:enabled"), management, "", true},
        {disc("ClientRemote", "# ClientRemote"), management, "#ClientRemoteOperation:disabled"},
        // Reading ends at a wrong line: the one that stands twice after it makes up for nothing.
        {disc("disabled", "Disabled\nClientOperationMode:enabled"), management,
         "ClientRemoteOperation:Disabled"},
        {disc(":enabled\n", ":enabled\r\n"), management, "ClientOperationMode:enabled\r"},
        {disc("TcpSocket", "\tTcpSocket"), management, "\tTcpSocketPortNumber:23333"},
        {disc("ClientReadOnlyOperation", "Other"), management, ""},
        {"", management, ""},
        {discovery, "", ""},
        {discovery, rm("SecureManagement", "Other"), ""},
        {discovery, rm("ManagementHost", "ManagementHostName"), "ManagementHostName:false"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.discovery + "--\n" + row.management);
        const std::string refused = "1 not silent [" + std::string(row.refused) + "]";
        EXPECT_EQ(Check(row.discovery, row.management), row.passes);
        EXPECT_EQ(Runs("-qa"), row.passes);
        EXPECT_EQ(host.Traced(refused), *row.refused != 0);
        EXPECT_EQ(host.TraceCount("1 not silent ["), *row.refused != 0);
        EXPECT_EQ(host.Traced(discoveryRefused), !row.passes && row.management == management);
        EXPECT_EQ(host.Traced(managementRefused), !row.passes && row.management != management);
        EXPECT_TRUE(host.Complaints().empty());
    }
    EXPECT_EQ(LastError(), 0u);
}

// Every required value, each spoilt by itself.
TEST_F(OcmCheckTest, NoOtherValuePasses) {
    const std::string both = discovery + management;
    for (size_t end = both.find('\n'); end != std::string::npos; end = both.find('\n', end + 1)) {
        std::string disc = discovery, rm = management;
        const bool first = end < disc.size();
        (first ? disc : rm).insert(first ? end : end - disc.size(), "0");
        EXPECT_FALSE(Check(disc, rm)) << disc << rm;
        EXPECT_EQ(host.TraceCount("1 not silent ["), 1);
        EXPECT_EQ(host.TraceCount("1 emulexRMConfig:[") > 0, !first);
    }
}

TEST_F(OcmCheckTest, TraceTellsEveryStep) {
    EXPECT_TRUE(Check(" Client RemoteOperation:disabled\n" + discovery.substr(31), management));
    const std::string name = "1 emulexDiscConfig", line = "ClientRemoteOperation:disabled";
    const Lines lines = {name + ":[ Client RemoteOperation:disabled]",
                         name + " space delete:[Client RemoteOperation:disabled]",
                         name + " space delete:[" + line + "]",
                         "1 find[ClientRemoteOperation] in [" + line + "]",
                         "1 silent [" + line + "]",
                         name + ":[ClientOperationMode:enabled]"};
    EXPECT_NE(std::search(host.traces.begin(), host.traces.end(), lines.begin(), lines.end()),
              host.traces.end());
    const std::string at = "1 CEMULEX_OCM_Utility::OCMInstallCheck() [";
    EXPECT_EQ(host.Frame(), at + "START]; " + at + "END]");
    EXPECT_TRUE(host.Exists(host.Cache("HbaVersion.txt")));  // was read first
}

TEST_F(OcmCheckTest, PackageMustNotBeInstalledAndFilesMustBeThere) {
    const std::string asked = "1 Execute tsystem command:[" + query + "]";
    const std::tuple<Ran, bool, std::string> rows[] = {
        {{"1\n0\n"}, true, asked},
        {{"0 \n"}, true, asked},
        {{"0\n"}, false, "1 I found elxocmjvm-xxxx.xxxx.rpm. "},
        {{"1\n", 2}, false, "2 _tsystem error (rpm grep). (512)"},
        {{noText}, false, "2 Failed to open file(" + found + ")."}};
    for (const auto& [answer, passes, detail] : rows) {
        std::remove(found.c_str());
        package = answer;
        EXPECT_EQ(Check(discovery, management), passes) << detail;
        EXPECT_EQ(LastDetail(), detail);
        EXPECT_EQ(LastError(), 0u);
    }
    for (const char* name : {"emulexDiscConfig", "emulexRMConfig"}) {
        Check(discovery, management);
        std::remove(host.Etc(name).c_str());
        EXPECT_FALSE(module.OCMInstallCheck());
        EXPECT_EQ(LastError(), 17u);
        EXPECT_EQ(LastDetail(), "2 Failed to open file(" + host.Etc(name) + ").");
    }
}

}  // namespace
