#include "provider/common/CEmulexCommon.h"
#include "tests/unit/PortTest.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>
#include <tuple>

namespace {

/// Counts how often a file is opened.
class Openings {
public:
    explicit Openings(const std::string& path) : events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
        // Equal events in a row are told once, so closings part the openings.
        EXPECT_GE(::inotify_add_watch(events, path.c_str(), IN_OPEN | IN_CLOSE), 0);
    }
    ~Openings() { ::close(events); }
    Openings(const Openings&) = delete;
    Openings& operator=(const Openings&) = delete;

    /// Since the last call.
    std::size_t Count() const {
        std::array<inotify_event, 64> block{};
        if (::read(events, block.data(), sizeof block) < 0) {
            return 0;
        }
        return static_cast<std::size_t>(
            std::count_if(block.begin(), block.end(),
                          [](const inotify_event& event) { return (event.mask & IN_OPEN) != 0; }));
    }

private:
    int events;
};

/// Long enough that a file which was written before has got its last time.
void Settle() {
    std::this_thread::sleep_for(std::chrono::milliseconds(40));
}

using C = CEmulexCommon;

class AttributeCacheTest : public PortTest {
protected:
    AttributeCacheTest() {
        attributes =
            "HBA Attributes for 10:00:00:00:c9:12:34:56\n\nHost Name               : server-1\n"
            "FW Version              : 11.2.156.27\nBoot BIOS               : Boot Bios 11.2\r\n"
            "Firmware Version no colon\n";
    }
    void WriteCache(const std::string& text, long age) {
        host.Write(file, text);
        host.SetAge(file, age);
    }
    /// "RESULT value" of a key.
    std::string Get(const std::string& key) {
        std::string value = " old ";
        const int result = C::GetHbaAttribData(wwpn, key, value);
        return std::to_string(result) + " " + value;
    }
    const std::string at = "4 CEmulexCommon::GetHbaAttribData";
    const std::string file = host.Cache(attributeFile);
};

TEST_F(AttributeCacheTest, FirstLineWithTheKeyDecides) {
    const std::tuple<std::string, std::string, const char*> rows[] = {
        {attributes, "FW Version", "0 11.2.156.27"},
        {attributes, "Boot BIOS", "0 Boot Bios 11.2"},
        {attributes, "Attributes", "0 00:00:00:c9:12:34:56"},
        {attributes, "Firmware Version", "-1 "},
        {attributes, "Model", "-1 old"},
        {"FW Version : 1\nOperational FW Version : 2", "FW Version", "0 1"},
        {"FW Version:", "FW Version", "0 "},
        {"\n\n\x01\xff\nFW Ver", "FW Version", "-1 old"},
        {"\nFW Version : 1", "", "0 1"},
        {"", "FW Version", "-1 old"},
    };
    for (const auto& [text, key, expected] : rows) {
        WriteCache(text, 0);
        const std::string result = Get(key);
        EXPECT_EQ(result, expected) << text;
        EXPECT_EQ(host.traces.back(), at + "(" + wwpn + ") find:(" + key + ") return:(" +
                                          result.substr(0, result.find(' ')) + ") [END]");
    }
    EXPECT_TRUE(host.commands.empty());
}

TEST_F(AttributeCacheTest, LivesForAnHour) {
    const std::string name = "1" + at.substr(1) + "() ";
    const std::string command = tool + " HbaAttributes " + wwpn + " > ";
    EXPECT_EQ(Get("FW Version"), "0 11.2.156.27");
    EXPECT_EQ(host.CommandLines(), Lines{command + file});
    EXPECT_TRUE(host.Traced(name + "strOutputFile:" + file));
    EXPECT_TRUE(host.Traced(name + "strListCmd:\"" + tool + "\" HbaAttributes " + wwpn + " > \"" +
                            file + "\""));
    for (const auto& [age, asks] :
         std::map<long, bool>{{0, false}, {3599, false}, {3600, true}, {-7200, false}}) {
        WriteCache("FW Version : cached", age);
        EXPECT_EQ(Get("FW Version"), asks ? "0 11.2.156.27" : "0 cached") << age;
        EXPECT_TRUE(
            host.Traced(name + "HbaAttributes file elapse time [" + std::to_string(age) + "] sec"));
    }
}

TEST_F(AttributeCacheTest, ASmallFileIsReadOnceUntilItChanges) {
    WriteCache("FW Version : 1\nBoot BIOS : a\n\nlast", 0);
    Settle();
    const Openings openings(file);
    EXPECT_EQ(Get("FW Version") + Get("Boot BIOS") + Get("last"), "0 10 a-1 ");
    EXPECT_EQ(openings.Count(), 1U);

    // Of the same size and, as far as anybody can set it, the same time.
    struct stat before {};
    ASSERT_EQ(::stat(file.c_str(), &before), 0);
    host.Write(file, "FW Version : 2\nBoot BIOS : b\n\nlast");
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    EXPECT_EQ(Get("FW Version"), "0 2");

    // One that has only just been written may change and look the same.
    bool readTwice = false;  // at some time; a busy machine may let the file grow old meanwhile
    for (int version = 3; version < 60; ++version) {
        const std::string text = std::to_string(version % 10);
        host.Write(file, "FW Version : " + text);
        openings.Count();
        EXPECT_EQ(Get("FW Version") + Get("FW Version"), "0 " + text + "0 " + text);
        readTwice = readTwice || openings.Count() == 2;
    }
    EXPECT_TRUE(readTwice);

    host.Write(file, std::string(5000, 'x') + "\nFW Version : far");
    Settle();
    EXPECT_EQ(Get("FW Version"), "0 far");
    ASSERT_EQ(::unlink(file.c_str()), 0);
    EXPECT_EQ(Get("FW Version"), "0 11.2.156.27") << "asked for again";
}

TEST_F(AttributeCacheTest, Failures) {
    const std::string name = "2" + at.substr(1) + "() ";
    std::string value;
    EXPECT_EQ(C::GetHbaAttribData("", "FW Version", value), -1);
    EXPECT_EQ(host.Complaints().back(), name + "Fail tsWWPNMAC empty");
    EXPECT_TRUE(host.commands.empty());

    host.run = [](const HostCommand&) { return Ran{noText, 1}; };
    EXPECT_EQ(Get("FW Version"), "-1  old ");
    EXPECT_EQ(host.Complaints().back(), "2 file open error:" + file);

    // A failed run does not keep the old file from being read.
    WriteCache(attributes, 4000);
    EXPECT_EQ(Get("FW Version"), "0 11.2.156.27");

    host.hbacmdInstalled = false;
    EXPECT_EQ(Get("FW Version"), "-1  old ");
    EXPECT_EQ(host.Complaints().back(), name + "Fail OCMPath:");
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(AttributeCacheTest, Deletion) {
    const std::string name = " CEmulexCommon::DeleteHbaAttribCache() ";
    host.Write(file, attributes);
    EXPECT_EQ(C::DeleteHbaAttribCache(wwpn), 0);
    EXPECT_FALSE(host.Exists(file));
    EXPECT_EQ(host.Details(), Lines{"1" + name + "strOutputFile:" + file});

    host.Fail(HostDouble::DeleteFile, file);
    EXPECT_EQ(C::DeleteHbaAttribCache(wwpn), -1);
    EXPECT_EQ(host.Complaints().back(), "2" + name + "RetryDeleteFile fail:[" + file + "]");
    EXPECT_EQ(C::DeleteHbaAttribCache(""), -1);
    EXPECT_EQ(host.Complaints().back(), "2" + name + "Fail tsWWPNMAC empty");
}

TEST_F(AttributeCacheTest, LocalFolders) {
    const std::map<std::string, unsigned long> rows = {
        {"", 0}, {"/tmp/EMULEX/temp", 19}, {"/tmp/EMULEX/cache", 18}};
    for (const auto& [failing, error] : rows) {
        SCOPED_TRACE(failing);
        host.Reset();
        Forget();
        host.Fail(HostDouble::CreateFolder, host.Root() + failing);
        EXPECT_EQ(C::CreateLocalDirectory(), error == 0 ? 1 : 0);
        EXPECT_EQ(LastError(), error);
        EXPECT_EQ(host.Exists(host.Cache()), error != 18);
        EXPECT_EQ(host.Exists(host.Temp()), error == 0);
    }
}

TEST_F(AttributeCacheTest, DumpFileKeyWord) {
    const std::string dump = C::GetDumpCacheFilePath("/a:b/c");
    EXPECT_EQ(dump, host.Cache("CacheDump__a-b_c.txt"));
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::GetDumpCacheFilePath() [" + dump + "]"));
    const std::tuple<std::string, const char*, std::string> rows[] = {
        {std::string(120, '-') + "Port WWN: 10:00", "fc", "1 [Port WWN: ] is found"},
        {"x\nPort WWPN/MAC: 10:00\n", "cna", "1 [Port WWPN/MAC: ] is found"},
        {"Port WWPN/MAC: 10:00\n", "fc", "1 [Port WWN: ] is not found"},
        {"Port WWN :\nPort \nWWN: 1", "", "1 [Port WWN: ] is not found"}};
    for (const auto& [text, type, trace] : rows) {
        host.Write(dump, text);
        const bool found = trace.find("not") == std::string::npos;
        EXPECT_EQ(C::CheckDumpFileKeyWord_(dump, type), found ? 1 : 0) << text;
        EXPECT_EQ(host.Details().back(), trace) << text;
    }
    EXPECT_EQ(C::CheckDumpFileKeyWord_("/no/dump", "fc"), 0);
    EXPECT_EQ(Told(), "17: 2 File Open Error. file(/no/dump) errcode(2)");
}

TEST_F(AttributeCacheTest, LatestFileIsTheFirstOfTheNewest) {
    const std::string folder = host.Root() + "/logs/", result = host.Temp("fsresult");
    const std::string command = "/bin/ls " + folder + "* > " + result + " 2>&1";
    const std::string end = "4 CEmulexCommon::LatestFile() [END] latest filename=";
    for (const auto& [name, age] :
         std::map<std::string, long>{{"a", 30}, {"b", 10}, {"c", 10}, {"d", 20}}) {
        host.Write(folder + name, "");
        host.SetAge(folder + name, age);
    }
    host.run = [&](const HostCommand&) {
        EXPECT_EQ(host.locks, (Lines{"Create(1,null)", "Lock(-1)"}));
        return Ran{folder + "a gone " + folder + "b\n" + folder + "c\n" + folder + "d\n"};
    };
    EXPECT_EQ(C::LatestFile(host.Root() + "/logs", "*"), folder + "b");
    EXPECT_EQ(host.CommandLines(), Lines{command});
    EXPECT_FALSE(host.Exists(result));
    EXPECT_EQ(host.Complaints(), Lines{"2 stat error!!"});
    EXPECT_TRUE(host.Traced("1 CEmulexCommon::LatestFile() system exec:[" + command + "]"));
    EXPECT_TRUE(host.Traced("1 st_mtime=1599999990"));
    EXPECT_EQ(host.TraceCount("1 Last Modify ["), 4);
    EXPECT_EQ(host.traces.back(), end + folder + "b");
    Forget();
    host.run = [&](const HostCommand&) { return Ran{host.Root(), 2}; };
    EXPECT_EQ(C::LatestFile("/none", "*"), "");
    EXPECT_FALSE(host.Exists(result));
    EXPECT_EQ(host.locks.back(), "Unlock");
    EXPECT_EQ(host.traces.back(), end);
}

}  // namespace
