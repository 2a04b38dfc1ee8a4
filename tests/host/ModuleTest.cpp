#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <utility>

#include "host/CDriver.h"
#include "host/CFirmware.h"
#include "host/CUtility.h"
#include "host/CVendorEx.h"
#include "tests/host/HostFixture.h"

namespace {

/// A component whose version an update changes. It answers version questions as providers do: not
/// from the device while an update runs.
class Component : public CFirmware {
public:
    Component() : CFirmware("0000:03:00.0-10df-f100") {}
    ~Component() override { ++destroyed; }

    std::string GetOperatingVersion() override {
        const int progress = GetUpdateProgress();
        if (progress >= 25 && progress <= 84) {
            return updateTimeVersion.empty() ? GetPrevVendorVersion() : updateTimeVersion;
        }
        return version;
    }
    int CheckVendorVersion(std::string a, std::string b) override { return b.compare(a); }

    int UpdateBackup(std::string folder, bool) override { return Did("backup", folder); }
    int PreUpdate(std::string folder, std::string archive, std::list<std::string>* files,
                  bool) override {
        EXPECT_TRUE(files != nullptr && files->empty());
        return Did("pre", folder + " " + archive);
    }
    int Update(std::string folder, std::string archive, std::list<std::string>*, bool) override {
        version = effect;
        return Did("update", folder + " " + archive);
    }
    int UpdateRestore(std::string folder) override { return Did("restore", folder); }

    int Did(const std::string& step, const std::string& arguments) {
        log += step + "@" + std::to_string(GetUpdateProgress()) + "(" + arguments + ") ";
        if (step == failing) {
            return 1;
        }
        return step == throwing ? throw std::runtime_error(step) : 0;
    }

    std::string version = "1.0.0.0";
    std::string effect = "2.0.0.0";
    std::string failing, throwing, log;
    static int destroyed;
};

int Component::destroyed = 0;

/// One of several modules of a kind.
class Tool : public CUtility {
public:
    explicit Tool(const char* name) : CUtility("0000:03:00.0-10df-f100", name) {}
    std::string GetOperatingVersion() override { return "1.0.0.0"; }
    int CheckVendorVersion(std::string a, std::string b) override { return b.compare(a); }
    int UpdateBackup(std::string, bool) override { return ++backups == 1 ? result : 0; }

    int result = 0;
    int backups = 0;
};

class Port : public CVendorEx {
public:
    explicit Port(CFirmware* firmware) : CVendorEx("0000:03:00.0-10df-f100") {
        firmwareModule = firmware;
        vendorClassName = "Model";
    }
    std::string GetHardwareVersion() override { return "1"; }
    int CheckHardwareVersion(std::string, std::string) override { return 0; }
    void LinkDevice() override {}
    void GetExtendedInfo(std::list<std::pair<std::string, std::string>>*) override {}
    std::string GetUpdateOrderModuleKind(UPDATE_ORDER, bool) override { return "firm"; }
    int StartOutputDeviceConfigInfo(std::string, void*) override { return 0; }
    int ExecOutputDeviceConfigInfo(std::string, void*) override { return 0; }
    int EndOutputDeviceConfigInfo(std::string, void*) override { return 0; }
    void GetShortageOfNecessaryApplicationInfo(std::list<CNecessaryComponentInfo>&) override {}
    int CheckUpdateConditionByDevicevendor(std::string, CManageRepositoryInfo*) override {
        return condition;
    }
    Tool* Add(const char* name) {
        return static_cast<Tool*>(utilityModules.emplace_back(new Tool(name)));
    }
    int condition = 0;
};

/// Runs the first three steps up to one that fails: what that one answers, 2 for an exception.
int RunSteps(CModuleManager& module) {
    try {
        return module.ExecuteUpdateBackup("", false) != 0 || module.ExecutePreUpdate(false) != 0 ||
               module.ExecuteUpdate(false) != 0;
    } catch (const std::runtime_error&) {
        return 2;
    }
}

}  // namespace

TEST(Module, CycleReachesDone) {
    const std::string folder = NewFolder();
    Component component;
    EXPECT_EQ(component.GetOperatingVersionCache(), "1.0.0.0");
    ASSERT_EQ(component.RegistUpdateModule("/module.zip", "2.0.0.0"), 0);
    std::string progress;
    const auto step = [&](int result) {
        progress += std::to_string(result) + "@" + std::to_string(component.GetUpdateProgress()) +
                    " " + component.GetOperatingVersionCache() + " ";
    };
    step(component.ExecuteUpdateBackup(folder, false));
    step(component.ExecutePreUpdate(false));
    step(component.ExecuteUpdate(false));  // the version is not read while it runs
    step(component.ExecuteUpdateRestore(folder));
    step(component.ExecuteUpdateApplyCheck());
    EXPECT_EQ(progress, "0@10 1.0.0.0 0@49 1.0.0.0 0@84 1.0.0.0 0@90 2.0.0.0 0@100 2.0.0.0 ");
    EXPECT_EQ(component.GetUpdateStatus(), 2);
    EXPECT_EQ(component.GetPrevVendorVersion(), "1.0.0.0");
    EXPECT_EQ(component.GetOperatingModuleInfo().version, "2.0.0.0");
    EXPECT_EQ(component.log, "backup@10(" + folder + ") pre@25(" + folder +
                                 " /module.zip) update@50(" + folder + " /module.zip) restore@85(" +
                                 folder + ") ");
    EXPECT_TRUE(EntriesOf(folder).empty()) << "no note of a cycle that has ended";
}

TEST(Module, FailedStepsLeaveNoStaleVersion) {
    const std::pair<std::string, std::string> rows[] = {
        {"backup", ""}, {"pre", ""}, {"update", ""}, {"", "pre"}, {"", "update"}};
    for (const auto& [failing, throwing] : rows) {
        SCOPED_TRACE(failing + throwing);
        Component component;
        component.failing = failing;
        component.throwing = throwing;
        component.RegistUpdateModule("/module.zip", "2.0.0.0");
        EXPECT_EQ(RunSteps(component), throwing.empty() ? 1 : 2);
        EXPECT_EQ(component.log.rfind(failing + throwing + "@"),
                  component.log.rfind('@') - failing.size() - throwing.size())
            << "a step behind the failed one";
        component.version = "1.5.0.0";
        EXPECT_EQ(component.GetOperatingVersionCache(), "1.5.0.0");
        EXPECT_EQ(component.GetUpdateStatus(), 3);
        EXPECT_EQ(component.ExecuteUpdateRestore(""), 0);
        EXPECT_EQ(component.GetUpdateStatus(), 3) << "cleaning up mends nothing";
        EXPECT_EQ(component.GetOperatingVersionCache(), "1.5.0.0");
    }
}

TEST(Module, UpdateWithoutEffectIsRolledBack) {
    Component component;
    component.InitializeOperatingModuleInfo("1.0.0.0");
    EXPECT_EQ(component.ExecutePreUpdate(false), 1) << "nothing is registered";
    EXPECT_EQ(component.GetPrevVendorVersion(), "1.0.0.0") << "a cycle that begins here";
    EXPECT_EQ(component.log, "");
    for (const char* effect : {"1.0.0.0", "abnormal"}) {
        component.effect = effect;
        component.RegistUpdateModule("/module.zip", "2.0.0.0");
        EXPECT_EQ(component.ExecuteUpdateBackup("", false), 0);
        EXPECT_EQ(component.ExecuteUpdate(false), 0);
        EXPECT_TRUE(component.ExecuteUpdateApplyCheck());
        EXPECT_EQ(component.GetOperatingModuleInfo().version, "1.0.0.0");
        EXPECT_EQ(component.GetUpdateProgress(), 0);
        EXPECT_EQ(component.GetUpdateStatus(), 3);
    }
    EXPECT_EQ(component.ExecuteUpdateBackup("", false), 0);
    EXPECT_EQ(component.GetPrevVendorVersion(), "1.0.0.0") << "an unreadable version replaces none";
}

TEST(Module, CycleCutShortIsFoundAgain) {
    const std::string folder = NewFolder();
    Component first, second;
    first.RegistUpdateModule(folder + "/module.zip", "2.0.0.0");
    EXPECT_EQ(first.ExecuteUpdateBackup(folder, false), 0);
    EXPECT_EQ(second.LoadRepository(NewFolder()), 1);
    ASSERT_EQ(second.LoadRepository(folder), 0);
    EXPECT_EQ(second.GetUpdateModuleInfo().version + second.GetUpdateModuleInfo().archive,
              "2.0.0.0" + folder + "/module.zip");
    const std::string note = folder + "/" + EntriesOf(folder).at(0), sound = ReadText(note);
    for (const std::string& text :
         {sound.substr(0, sound.size() - 5), sound + "x=1\n", "kind:" + sound.substr(5),
          "kind=driver" + sound.substr(sound.find('\n'))}) {
        WriteText(note, text);
        EXPECT_EQ(second.LoadRepository(folder), 1) << text;
    }
    WriteText(note + ".away", sound);
    std::filesystem::remove(note);
    std::filesystem::create_symlink(note + ".away", note);
    EXPECT_EQ(second.LoadRepository(folder), 1) << "a link";
    const std::string other = NewFolder();
    first.RegistUpdateModule(folder + "/module.zip", "2.0.0.0\narchive=/other.zip");
    EXPECT_EQ(first.ExecuteUpdateBackup(other, false), 0);
    EXPECT_TRUE(EntriesOf(other).empty()) << "no note that would be read as another";
}

TEST(Vendor, DrivesAndOwnsItsModules) {
    const std::string archive = NewFolder() + "/module.zip";
    WriteText(archive, "zip");
    Component::destroyed = 0;
    {
        auto* component = new Component;
        Port port(component);
        EXPECT_EQ(port.ConfirmUpdateModuleRegistration("firm", archive, "2.0.0.0"), 0);
        EXPECT_EQ(port.ConfirmUpdateModuleRegistration("driver", archive, "2.0.0.0"), 1);
        EXPECT_EQ(port.CheckUpdateCondition("firm", false, false), 0);
        port.condition = 1;
        EXPECT_EQ(port.CheckUpdateCondition("firm", false, false), 1);
        CManageModuleInfo needed;
        needed.moduleKind = "firm";
        needed.repository.version = "1.5.0.0";
        port.SetDependencyInfo(needed);
        port.condition = 0;
        EXPECT_EQ(port.CheckUpdateCondition("firm", false, false), 1) << "1.5.0.0 must operate";
        needed.repository.version.clear();
        port.SetDependencyInfo(needed);
        EXPECT_EQ(port.CheckUpdateConditionByModule("firm", component, "2.0.0.0", false, false), 0);
        EXPECT_EQ(port.CheckUpdateConditionByModule("firm", component, "3.0.0.0", false, false), 1);
        EXPECT_EQ(port.ExecuteUpdateBackup("firm", "", false), 0);
        EXPECT_EQ(port.ExecutePreUpdate("firm", false), 0);
        EXPECT_FALSE(port.IsUpdateFailure());
        component->failing = "update";
        EXPECT_EQ(port.ExecuteUpdate("firm", false), 1);
        EXPECT_TRUE(port.IsUpdateFailure());
        EXPECT_EQ(port.ExecuteUpdate("util", false), 1) << "no such module";
        EXPECT_TRUE(port.ExecuteUpdateApplyCheck("util"));
        EXPECT_EQ(port.GetVendorClassName(), "Model");
        port.SetOwnerProvider("libprovider.so", "Family");
        EXPECT_EQ(port.GetVendorClassName(), "Family");
        EXPECT_EQ(Component::destroyed, 0);
    }
    EXPECT_EQ(Component::destroyed, 1);
}

TEST(Vendor, AsksTheModulesThatAreMeantAndAllOfThem) {
    CManageModuleInfo update;
    update.moduleKind = "util";
    update.repository.version = "2.0.0.0";
    update.repository.archive = NewFolder() + "/module.zip";
    WriteText(update.repository.archive, "zip");
    Port port(new Component);
    Tool *one = port.Add("one"), *two = port.Add("two");
    one->result = 1;
    EXPECT_EQ(port.ExecuteUpdateBackup("util", "", false), 1);
    EXPECT_EQ(two->backups, 1) << "behind one that has failed";
    one->SetDependencyInfo(update.repository);  // which does not operate
    CManageRepositoryInfo operates = update.repository;
    operates.version = "1.0.0.0";
    two->SetDependencyInfo(operates);
    for (const auto& [name, refused] : {std::pair("one", 1), {"two", 0}, {"", 1}, {"three", 1}}) {
        update.moduleName = name;
        EXPECT_EQ(port.CheckUpdateModuleRegistration(update), refused) << name;
    }
    update.moduleName = "two";
    update.repository.archive += ".missing";
    EXPECT_EQ(port.CheckUpdateModuleRegistration(update), 1);
}
