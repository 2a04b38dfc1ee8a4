#include "provider/modules/CEMULEX_Driver.h"
#include "tests/unit/PortTest.h"

#include <filesystem>

namespace {

const std::string lpfcLines =
    "\noverride lpfc * weak-updates/updates/elx-lpfc\noverride lpfc * weak-updates/elx-lpfc\n";

class DepmodTest : public PortTest {
protected:
    DepmodTest() { host.Write(host.Etc("depmod.d/other.conf"), ""); }

    std::string File(const std::string& module) const {
        return host.Etc("depmod.d/elx" + module + ".conf");
    }
    bool Execute(bool be2net, bool lpfc, bool be2iscsi) {
        host.commands.clear();
        host.traces.clear();
        return module.DepmodExecute(be2net, lpfc, be2iscsi);
    }

    const Lines ran = {"1 Execute depmod command by _tsystem method [depmod -a]",
                       "1 depmod -a ok."};
    CEMULEX_Driver module{device, "", wwpn};
};

TEST_F(DepmodTest, OverrideIsAddedWhereNoneIsMarked) {
    const std::pair<std::string, bool> rows[] = {
        {"", false},
        {"# mine\n", false},
        {"no line end", false},
        {"Override lpfc *\noverride  lpfc *\noverride be2net * x\n", false},
        {"override lpfc * mine\n", true},
        {"# first\n#x override lpfcx", true}};
    for (const auto& [before, marked] : rows) {
        host.Write(File("lpfc"), before);
        for (int run : {1, 2}) {
            SCOPED_TRACE(before + std::to_string(run));
            EXPECT_TRUE(Execute(false, true, false));
            EXPECT_EQ(host.Read(File("lpfc")), before + (marked ? "" : lpfcLines));
            EXPECT_EQ(host.CommandLines(), Lines{"depmod -a"});
            EXPECT_EQ(host.Details(), ran);
        }
    }
    const std::string at = "4 CEMULEX_Driver::DepmodExecute() [";
    EXPECT_EQ(host.Frame(), at + "START]; " + at + "END]");
}

TEST_F(DepmodTest, EachModuleHasItsFile) {
    const auto lines = [](const std::string& name) {
        return "\noverride " + name + " * weak-updates/updates/" + name + "\noverride " + name +
               " * weak-updates/" + name + "\n";
    };
    for (int selected = 0; selected < 8; ++selected) {
        SCOPED_TRACE(selected);
        const bool be2net = selected & 1, lpfc = selected & 2, be2iscsi = selected & 4;
        for (const char* name : {"be2net", "lpfc", "be2iscsi"}) {
            std::filesystem::remove(File(name));
        }
        EXPECT_TRUE(Execute(be2net, lpfc, be2iscsi));
        EXPECT_EQ(host.Read(File("be2net")), be2net ? lines("be2net") : noText);
        EXPECT_EQ(host.Read(File("lpfc")), lpfc ? lpfcLines : noText);
        EXPECT_EQ(host.Read(File("be2iscsi")), be2iscsi ? lines("be2iscsi") : noText);
        EXPECT_EQ(host.CommandLines(), selected == 0 ? Lines{} : Lines{"depmod -a"});
    }
}

TEST_F(DepmodTest, FailuresShowInTheResultAndHoldUpNothingElse) {
    std::filesystem::create_directory(File("lpfc"));  // not even root can write that
    EXPECT_FALSE(Execute(true, true, true));
    EXPECT_EQ(LastError(), 17u);
    EXPECT_EQ(host.Details(),
              (Lines{"2 Failed to open file(" + File("lpfc") + ").", ran.front(), ran.back()}));
    EXPECT_TRUE(host.Exists(File("be2net")) && host.Exists(File("be2iscsi")));
    std::filesystem::remove(File("lpfc"));
    Forget();
    host.run = [](const HostCommand&) { return Ran{"", 2}; };
    EXPECT_FALSE(Execute(false, true, false));
    EXPECT_EQ(host.Read(File("lpfc")), lpfcLines);
    EXPECT_EQ(host.Details(), (Lines{ran.front(), "2 depmod -a error.(512)"}));
    EXPECT_EQ(LastError(), 0u);
}

}  // namespace
