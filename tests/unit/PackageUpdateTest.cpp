#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/CFC_EMULEX_Driver.h"
#include "tests/unit/PortTest.h"

namespace {

using Members = std::map<std::string, std::string>;

const std::string archive = "/repository/module.zip";
const std::string search = "Failed to find update module.There is ";

// Driver and utility: both unpack a package and run a program on what it brings.
class PackageUpdateTest : public PortTest {
protected:
    PackageUpdateTest() {
        host.Write(host.Etc("depmod.d/other.conf"), "");
        host.run = [this](const HostCommand& command) { return Answer(command.line); };
        for (const char* name :
             {"x64/FC/a.rpm", "x86/FC/b.rpm", "x64/FC/in/c.rpm", "x64/d.rpm", "x64/FC/e.rpm.txt",
              "x64/uninstall.sh", "x64/install.sh", "x86/uninstall.sh", "x86/install.sh"}) {
            good[name] = "";
        }
        good["x64/message.txt"] = good["x86/message.txt"] = "SuccessMessage=done";
    }
    Members Without(const std::string& name) const {
        Members members = good;
        members.erase(name);
        return members;
    }
    int Run(CModuleManager& module, const Members& members) {
        host.archives = {{archive, members}};
        host.commands.clear();
        host.messages.clear();
        host.traces.clear();
        CEmulexCommon::m_dwLastError = 38;
        return &module == &driver ? driver.Update("", archive, nullptr, false)
                                  : utility.PreUpdate("", archive, nullptr, false);
    }
    // The first so many of the lines that an update runs.
    Lines Commands(CModuleManager& module, const std::string& folder, size_t count) const {
        const std::string path = host.Temp("tmp/" + folder);
        const std::string package = path + (folder == "x64" ? "/FC/a.rpm" : "/FC/b.rpm");
        Lines lines = {"rpm -Uhv --oldpackage " + package + " > " + rpmOutput, "depmod -a"};
        if (&module == &utility) {
            lines = {"chmod 777 " + path + "/*", path + "/uninstall.sh", path + "/install.sh -q"};
        }
        lines.resize(count);
        return lines;
    }
    /// An update that fails, and how.
    struct Row {
        CModuleManager& module;
        std::function<void()> spoil;
        Members members;
        unsigned long error;
        std::string message, reason;
        size_t commands;
    };
    void ExpectFailure(const Row& row);
    std::function<void()> Fails(const char* program) {
        return [=] { programs[program] = {"failed\n", 3}; };
    }

    const std::string rpmOutput = host.Temp("temp_driver_fc.txt");
    const std::string removeOutput = host.Temp("temp_ocm_uninstall.txt");
    const std::string installOutput = host.Temp("temp_ocm_install.txt");
    const std::string folder = host.Temp("tmp");
    const std::map<std::string, Ran> works = {{"rpm ", {"####\n"}},
                                              {"depmod ", {""}},
                                              {"chmod ", {""}},
                                              {"/uninstall.sh", {"done\n", 5}},
                                              {"/install.sh", {"all done\n"}}};
    std::map<std::string, Ran> programs = works;
    std::function<void()> meanwhile;  ///< while any of these runs
    Members good;
    CFC_EMULEX_Driver driver{device, "", wwpn};
    CEMULEX_OCM_Utility utility{device};

    // What stands in the way of an update.
    const std::function<void()> nothing = [] {};
    const std::function<void()> noDelete = [&] { host.Fail(HostDouble::DeleteFolder, folder); };
    const std::function<void()> noCreate = [&] { host.Fail(HostDouble::CreateFolder, folder); };
    const std::function<void()> noUnzip = [&] { host.Fail(HostDouble::Unzip, archive); };
    const std::function<void()> arm = [&] { host.architecture = "aarch64"; };

private:
    Ran Answer(const std::string& line) {
        for (const auto& [word, ran] : programs) {
            if (line.find(word) != std::string::npos) {
                meanwhile ? meanwhile() : void();
                return ran;
            }
        }
        return {line.find(" version ") != std::string::npos ? version : attributes};
    }
};

TEST_F(PackageUpdateTest, PackageOfTheArchitectureIsInstalledOnce) {
    const std::pair<std::string, std::string> rows[] = {
        {"x86_64", "x64"}, {"Linux x86_64 SMP", "x64"}, {"i386", "x86"}, {"i686 x86_64", "x86"}};
    programs["chmod "] = programs["depmod "] = {"", 1};  // decide nothing
    for (const auto& [architecture, name] : rows) {
        SCOPED_TRACE(architecture);
        host.architecture = architecture;
        host.Write(folder + "/" + name + "/FC/old.rpm", "");
        const Lines installs = Commands(driver, name, 2), scripts = Commands(utility, name, 3);

        EXPECT_EQ(driver.PreUpdate("", archive, nullptr, false), 0);
        EXPECT_EQ(Run(driver, good), 0);
        EXPECT_EQ(host.CommandLines(), installs);
        EXPECT_EQ(host.Details()[0], "1 Execute Update by _tsystem method [" + installs[0] + "]");
        EXPECT_FALSE(host.Exists(folder));
        EXPECT_EQ(host.Read(rpmOutput), "####\n");

        host.Write(folder + "/old", "");
        EXPECT_EQ(Run(utility, good), 0);
        ASSERT_EQ(host.CommandLines(), scripts);
        EXPECT_EQ(host.Details()[0], "1 Execute tsystem command:[" + scripts[0] + "]");
        EXPECT_EQ(host.Complaints(), Lines{"16 [" + scripts[0] + "] return [256]"});
        EXPECT_EQ(host.commands[1].outputFile, removeOutput);
        EXPECT_EQ(host.commands[1].codeBefore, 1u);
        EXPECT_EQ(host.commands[2].codeBefore, 5u);  // what the first script left
        EXPECT_EQ(host.commands[1].workFolder + host.commands[2].workFolder, "");
        EXPECT_TRUE(host.Exists(folder + "/x64") && !host.Exists(folder + "/old"));
        EXPECT_EQ(host.Read(installOutput) + host.Read(removeOutput), "all done\n(none)");

        host.Write(installOutput, "");  // that it is there is enough
        EXPECT_EQ(Run(utility, {}), 0);
        EXPECT_EQ(host.Details(),
                  Lines{"1 OCM update is previously-reported.OCM Update is skipped"});
        EXPECT_EQ(Run(driver, {}), 0);
        EXPECT_EQ(host.Details(),
                  Lines{"1 Driver update is previously-reported.Driver Update is skipped"});
        EXPECT_TRUE(host.commands.empty() && host.Exists(folder));
        driver.UpdateRestore("");
        utility.UpdateRestore("");
    }
    EXPECT_TRUE(host.Exists(host.Etc("depmod.d/elxlpfc.conf")));
    EXPECT_FALSE(host.Exists(host.Etc("depmod.d/elxbe2net.conf")) ||
                 host.Exists(host.Etc("depmod.d/elxbe2iscsi.conf")));
}

// Of the update in the row and of the one after it, which meets no obstacle.
void PackageUpdateTest::ExpectFailure(const Row& row) {
    SCOPED_TRACE(row.message + row.reason);
    const bool ofDriver = &row.module == &driver;
    const std::string ocm = "2 Failed to update(ocm)(" + std::to_string(row.error) + ").";
    host.Write(folder + "/old", "");
    row.spoil();
    EXPECT_EQ(Run(row.module, row.members), 1);
    EXPECT_EQ(host.Traced("1 Return=768"), ofDriver && row.error == 17);
    EXPECT_EQ(host.CommandLines(), Commands(row.module, "x64", row.commands));
    EXPECT_EQ(host.Exists(folder), row.error != 19);
    // A failed installation, too, leaves its output, which would pass for one that was done.
    EXPECT_EQ(host.Exists(ofDriver ? rpmOutput : installOutput),
              row.commands >= (ofDriver ? 1 : 3));
    EXPECT_FALSE(host.Exists(removeOutput));
    std::string told = Told(), end = row.reason.empty() ? "" : "2 " + row.reason;
    end += ofDriver ? "" : (end.empty() ? "" : "; ") + ocm;
    end += row.message.empty() ? "" : " | MSGID_EMULEX_FC_" + row.message;
    EXPECT_EQ(told.substr(0, 2), std::to_string(row.error));
    EXPECT_EQ(told.erase(0, told.size() - std::min(told.size(), end.size())), end);

    host.Mend();
    host.architecture = "x86_64";
    programs = works;
    meanwhile = nullptr;
    row.module.UpdateBackup("", false);
    EXPECT_EQ(Run(row.module, good), 0);
    EXPECT_EQ(host.CommandLines().size(), ofDriver ? 2u : 3u);
    row.module.UpdateRestore("");
}

TEST_F(PackageUpdateTest, FailuresTellTheirReasonAndTheNextCycleRecovers) {
    const std::string a = folder + "/x64/FC/a.rpm", open = "Failed to open file(";
    const std::string rpmFails = "Driver update error(" + Commands(driver, "x64", 1)[0] + ").";
    const std::string kept = "Failed to get delete update module folder";
    const std::string noFolder = "Failed to get create unzip folder";
    Members two = good;
    two["x64/FC/b.rpm"] = "";
    const auto noFile = [&] { host.Fail(HostDouble::KeepFound, a); };
    const auto keeps = [&] { meanwhile = noDelete; };
    const auto none = [this](const char* name) { return Without(std::string("x64/") + name); };
    const Row rows[] = {
        {driver, noDelete, good, 28, "0004_F driv|1c", "", 0},
        {driver, noCreate, good, 19, "0004_F driv|13", noFolder, 0},
        {driver, noUnzip, good, 26, "0004_F driv|1a", "", 0},
        {driver, arm, good, 32, "0004_F driv|20", "Not supported OS arch aarch64", 0},
        {driver, nothing, none("FC/a.rpm"), 29, "0005_F driv|1d", search + "not update file.", 0},
        {driver, nothing, two, 29, "0005_F driv|1d", search + "some update file.", 0},
        {driver, noFile, good, 29, "0004_F driv|1d", "No " + a, 0},
        {driver, Fails("rpm "), good, 17, "", rpmFails, 1},
        {driver, keeps, good, 28, "0004_F driv|1c", kept, 2},
        {utility, noDelete, good, 28, "0004_F ocm|1c", "", 0},
        {utility, noCreate, good, 19, "0004_F ocm|13", noFolder, 0},
        {utility, noUnzip, good, 26, "0004_F ocm|1a", "", 0},
        {utility, arm, good, 38, "", "Failed to get os architecture.", 0},
        {utility, nothing, none("uninstall.sh"), 29, "", search + "not uninstall.sh file.", 0},
        {utility, Fails("/uninstall.sh"), good, 17, "", open + removeOutput + ").", 2},
        {utility, nothing, none("message.txt"), 17, "", open + removeOutput + ").", 2},
        {utility, nothing, none("install.sh"), 29, "", search + "not install.sh file.", 2},
        {utility, Fails("/install.sh"), good, 17, "", open + installOutput + ").", 3}};
    for (const Row& row : rows) {
        ExpectFailure(row);
    }
}

TEST_F(PackageUpdateTest, OnlyTheListedFilesAreUnpackedAndOtherAdaptersTakeTheDriverAlong) {
    std::list<std::string> files = {"x86/FC/b.rpm", "x64/uninstall.sh"};
    host.archives = {{archive, good}};
    EXPECT_EQ(utility.Update("", archive, &files, false), 0);
    EXPECT_FALSE(host.Exists(folder));
    EXPECT_EQ(utility.PreUpdate("", archive, &files, false), 1);
    EXPECT_EQ(driver.Update("", archive, &files, false), 1);
    EXPECT_FALSE(host.Exists(folder + "/x64/install.sh"));
    host.Write(host.Temp("SequentialUpdateFile_FCoE.txt"), "");
    host.Write(rpmOutput, "");
    EXPECT_EQ(Run(driver, {}), 0);
    EXPECT_EQ(host.Details(), Lines{"1 Driver update trun is CNA. Driver Update is skipped"});
    EXPECT_TRUE(host.commands.empty());
}

TEST_F(PackageUpdateTest, RemovalOutputLeftBehindIsToldByAnotherName) {
    for (bool fails : {false, true}) {
        programs["/uninstall.sh"] = {fails ? "failed\n" : "done\n"};
        meanwhile = [this] { host.Fail(HostDouble::DeleteFile, removeOutput); };
        EXPECT_EQ(Run(utility, good), fails);
        EXPECT_TRUE(host.Traced("16 Failed to delete OCM update result File [" +
                                host.Temp("ocm_update_result.txt") + "]"));
        utility.UpdateBackup("", false);
    }
}

TEST_F(PackageUpdateTest, BackupAndRestoreForgetAndNeverFail) {
    const std::string kept = "16 Failed to delete ", versionCache = host.Cache("HbaVersion.txt");
    const struct {
        CModuleManager& module;
        std::string result, cache, resultKept, cacheKept;
    } rows[] = {{driver, rpmOutput, host.Cache(attributeFile), "Driver update result File [",
                 "16 Failed to get delete HbaAttrib cache file."},
                {utility, installOutput, versionCache, "OCM update result File [",
                 kept + "OCM operating version File."}};
    for (int run = 0; run < 8; ++run) {
        SCOPED_TRACE(run);
        const auto& row = rows[run & 1];
        const bool restore = run & 2, fails = run & 4;
        for (const std::string& file : {row.result, row.cache}) {
            host.Write(file, "");
            fails ? host.Fail(HostDouble::DeleteFile, file) : void();
        }
        host.traces.clear();
        EXPECT_EQ(restore ? row.module.UpdateRestore("") : row.module.UpdateBackup("", true), 0);
        EXPECT_EQ(host.Exists(row.result), fails);
        EXPECT_EQ(host.Exists(row.cache), fails || !restore);
        EXPECT_EQ(host.Traced(kept + row.resultKept + row.result + "]"), fails);
        EXPECT_EQ(host.Traced(row.cacheKept), fails && restore);
    }
}

TEST_F(PackageUpdateTest, ApplyCheckHoldsWhatRunsAgainstTheUpdate) {
    const auto check = [this](CModuleManager& module) {
        attributes = "Driver Version : 1.2.3.4\n";
        version = "Command Line Interface: 1.2.3.4\n";
        module.InitializeOperatingModuleInfo("1.2.3.4");
        EXPECT_FALSE(module.UpdateApplyCheck(""));
        module.InitializeOperatingModuleInfo("1.2.3.5");
        EXPECT_TRUE(module.UpdateApplyCheck(""));
        module.UpdateRestore("");
        attributes = version = "";
        EXPECT_TRUE(module.UpdateApplyCheck(""));
    };
    check(driver);
    check(utility);
    EXPECT_EQ(host.messages, (Lines{"MSGID_EMULEX_FC_0009_F driv|1.2.3.4|1.2.3.5",
                                    "MSGID_EMULEX_FC_0009_F driv|abnormal|1.2.3.5",
                                    "MSGID_EMULEX_FC_0009_F ocm|1.2.3.4|1.2.3.5",
                                    "MSGID_EMULEX_FC_0008_F ocm|abnormal|1.2.3.5"}));
}

}  // namespace
