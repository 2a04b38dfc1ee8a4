#include "provider/common/CEmulexCommon.h"
#include "tests/unit/PortTest.h"

#include <tuple>

namespace {

class AttributeCacheTest : public PortTest {
protected:
    AttributeCacheTest() {
        attributes =
            "HBA Attributes for 10:00:00:00:c9:12:34:56\n\nHost Name               : server-1\n"
            "FW Version              : 11.2.156.27\nBoot BIOS               : Boot Bios 11.2\r\n"
            "Firmware Version no colon\n";
    }
    const std::string file = host.Cache(attributeFile);
};

TEST_F(AttributeCacheTest, FirstLineWithTheKeyDecides) {
    const std::tuple<std::string, std::string, int, const char*> rows[] = {
        {attributes, "FW Version", 0, "11.2.156.27"},
        {attributes, "Boot BIOS", 0, "Boot Bios 11.2"},
        {attributes, "Attributes", 0, "00:00:00:c9:12:34:56"},
        {attributes, "Firmware Version", -1, ""},
        {attributes, "Model", -1, "old"},
        {"FW Version : 1\nOperational FW Version : 2", "FW Version", 0, "1"},
        {"FW Version:", "FW Version", 0, ""},
        {"\n\n\x01\xff\nFW Ver", "FW Version", -1, "old"},
        {"\nFW Version : 1", "", 0, "1"},
        {"", "FW Version", -1, "old"},
    };
    for (const auto& [text, key, result, expected] : rows) {
        SCOPED_TRACE(key);
        host.Write(file, text);
        host.SetAge(file, 0);
        std::string value = " old ";
        EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, key, value), result);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(host.traces.back(), "4 CEmulexCommon::GetHbaAttribData(" + wwpn + ") find:(" +
                                          key + ") return:(" + std::to_string(result) + ") [END]");
    }
    EXPECT_TRUE(host.commands.empty());
}

TEST_F(AttributeCacheTest, LivesForAnHour) {
    const std::pair<long, bool> rows[] = {{0, false}, {3599, false}, {3600, true}, {-7200, false}};
    attributes = "FW Version : new";
    for (const auto& [age, asks] : rows) {
        SCOPED_TRACE(age);
        host.Write(file, "FW Version : cached");
        host.SetAge(file, age);
        std::string value;
        EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, "FW Version", value), 0);
        EXPECT_EQ(value, asks ? "new" : "cached");
        EXPECT_TRUE(
            host.Traced("1 CEmulexCommon::GetHbaAttribData() HbaAttributes file elapse time [" +
                        std::to_string(age) + "] sec"));
    }
}

TEST_F(AttributeCacheTest, AsksTheToolForAMissingFile) {
    std::string value;
    EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, "FW Version", value), 0);
    EXPECT_EQ(value, "11.2.156.27");
    EXPECT_EQ(host.CommandLines(), Lines{tool + " HbaAttributes " + wwpn + " > " + file});
    const std::string at = "1 CEmulexCommon::GetHbaAttribData() ";
    EXPECT_TRUE(host.Traced(at + "strOutputFile:" + file));
    EXPECT_TRUE(host.Traced(at + "strListCmd:\"" + tool + "\" HbaAttributes " + wwpn + " > \"" +
                            file + "\""));
}

TEST_F(AttributeCacheTest, Failures) {
    const std::string at = "2 CEmulexCommon::GetHbaAttribData() ";
    std::string value;
    EXPECT_EQ(CEmulexCommon::GetHbaAttribData("", "FW Version", value), -1);
    EXPECT_EQ(host.Complaints().back(), at + "Fail tsWWPNMAC empty");
    EXPECT_TRUE(host.commands.empty());

    host.run = [](const HostCommand&) { return Ran{std::nullopt, 1}; };
    EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, "FW Version", value), -1);
    EXPECT_EQ(host.Complaints().back(), "2 file open error:" + file);

    // A failed run does not keep the old file from being read.
    host.Write(file, attributes);
    host.SetAge(file, 4000);
    EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, "FW Version", value), 0);

    host.hbacmdInstalled = false;
    EXPECT_EQ(CEmulexCommon::GetHbaAttribData(wwpn, "FW Version", value), -1);
    EXPECT_EQ(host.Complaints().back(), at + "Fail OCMPath:");
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(AttributeCacheTest, Deletion) {
    const std::string at = " CEmulexCommon::DeleteHbaAttribCache() ";
    host.Write(file, attributes);
    EXPECT_EQ(CEmulexCommon::DeleteHbaAttribCache(wwpn), 0);
    EXPECT_FALSE(host.Exists(file));
    EXPECT_EQ(host.Details(), Lines{"1" + at + "strOutputFile:" + file});

    host.Fail(HostDouble::DeleteFile, file);
    EXPECT_EQ(CEmulexCommon::DeleteHbaAttribCache(wwpn), -1);
    EXPECT_EQ(host.Complaints().back(), "2" + at + "RetryDeleteFile fail:[" + file + "]");
    EXPECT_EQ(CEmulexCommon::DeleteHbaAttribCache(""), -1);
    EXPECT_EQ(host.Complaints().back(), "2" + at + "Fail tsWWPNMAC empty");
}

TEST_F(AttributeCacheTest, LocalFolders) {
    const std::pair<const char*, unsigned long> rows[] = {
        {"", 0}, {"/tmp/EMULEX/temp", 19}, {"/tmp/EMULEX/cache", 18}};
    for (const auto& [failing, error] : rows) {
        SCOPED_TRACE(failing);
        host.Reset();
        Forget();
        host.Fail(HostDouble::CreateFolder, host.Root() + failing);
        EXPECT_EQ(CEmulexCommon::CreateLocalDirectory(), error == 0 ? 1 : 0);
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.Exists(host.Cache()), error != 18);
        EXPECT_EQ(host.Exists(host.Temp()), error == 0);
    }
}

TEST_F(AttributeCacheTest, DumpFileKeyWord) {
    const std::string dump = CEmulexCommon::GetDumpCacheFilePath("/a:b/c");
    EXPECT_EQ(dump, host.Cache("CacheDump__a-b_c.txt"));
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::GetDumpCacheFilePath() [" + dump + "]"));
    const std::tuple<std::string, const char*, const char*> rows[] = {
        {std::string(120, '-') + "Port WWN: 10:00", "fc", "1 [Port WWN: ] is found"},
        {"x\nPort WWPN/MAC: 10:00\n", "cna", "1 [Port WWPN/MAC: ] is found"},
        {"Port WWPN/MAC: 10:00\n", "fc", "1 [Port WWN: ] is not found"},
        {"Port WWN :\nPort \nWWN: 1", "", "1 [Port WWN: ] is not found"}};
    for (const auto& [text, type, trace] : rows) {
        SCOPED_TRACE(text);
        host.Write(dump, text);
        const bool found = std::string(trace).find("not") == std::string::npos;
        EXPECT_EQ(CEmulexCommon::CheckDumpFileKeyWord_(dump, type), found ? 1 : 0);
        EXPECT_EQ(host.Details().back(), trace);
    }
    EXPECT_EQ(LastError(), 0u);
    EXPECT_EQ(CEmulexCommon::CheckDumpFileKeyWord_("/no/dump", "fc"), 0);
    EXPECT_EQ(LastError(), 17u);
    EXPECT_EQ(host.Details().back(), "2 File Open Error. file(/no/dump) errcode(2)");
}

TEST_F(AttributeCacheTest, LatestFileIsTheFirstOfTheNewest) {
    const std::string folder = host.Root() + "/logs/";
    const std::string result = host.Temp("fsresult");
    const std::string command = "/bin/ls " + folder + "* > " + result + " 2>&1";
    const std::pair<const char*, long> ages[] = {{"a", 30}, {"b", 10}, {"c", 10}, {"d", 20}};
    for (const auto& [name, age] : ages) {
        host.Write(folder + name, "");
        host.SetAge(folder + name, age);
    }
    host.run = [&](const HostCommand&) {
        EXPECT_EQ(host.locks, (Lines{"Create(1,null)", "Lock(-1)"}));
        return Ran{folder + "a gone " + folder + "b\n" + folder + "c\n" + folder + "d\n"};
    };
    EXPECT_EQ(CEmulexCommon::LatestFile(host.Root() + "/logs", "*"), folder + "b");
    EXPECT_EQ(host.CommandLines(), Lines{command});
    EXPECT_EQ(host.locks.back(), "Unlock");
    EXPECT_FALSE(host.Exists(result));
    EXPECT_EQ(host.Complaints(), Lines{"2 stat error!!"});
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::LatestFile() system exec:[" + command + "]"));
    EXPECT_TRUE(host.Traced("1 st_mtime=1599999990"));
    EXPECT_EQ(host.TraceCount("1 Last Modify ["), 4);
    EXPECT_EQ(host.traces.back(),
              "4 CEmulexCommon::LatestFile() [END] latest filename=" + folder + "b");
}

TEST_F(AttributeCacheTest, LatestFileOfNone) {
    host.run = [&](const HostCommand&) { return Ran{host.Root(), 2}; };
    EXPECT_EQ(CEmulexCommon::LatestFile("/none", "*"), "");
    EXPECT_FALSE(host.Exists(host.Temp("fsresult")));
    EXPECT_EQ(host.locks.back(), "Unlock");
    EXPECT_EQ(host.traces.back(), "4 CEmulexCommon::LatestFile() [END] latest filename=");
}

}  // namespace
