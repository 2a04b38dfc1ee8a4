#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CMutexUtil.h"
#include "host/CUnzip_Utility.h"
#include "host/ComLib/FileLock.h"
#include "tests/host/HostFixture.h"

using Names = std::list<std::string>;

TEST(Files, CreateFolder) {
    const std::string folder = NewFolder();
    WriteText(folder + "/file", "");
    std::filesystem::create_symlink(folder, folder + "/link");
    const std::pair<std::string, bool> rows[] = {{folder + "/a/b/c/", true},
                                                 {folder + "/a", true},
                                                 {folder + "/file", false},
                                                 {folder + "/file/x", false},
                                                 {folder + "/link", false},
                                                 {folder + "/link/", false},
                                                 {"", false}};
    for (const auto& [path, created] : rows) {
        EXPECT_EQ(CFileUtility::CreateFolder(path), created) << path;
    }
    struct stat status = {};
    ASSERT_EQ(stat((folder + "/a/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700U);
}

TEST(Files, SearchFile) {
    const std::string folder = NewFolder();
    std::filesystem::create_directories(folder + "/sub.grp");
    for (const char* name : {"/b.grp", "/a.grp", "/a.GRP", "/.hidden.grp", "/sub.grp/c.grp"}) {
        WriteText(folder + name, "");
    }
    Names found = {"left from before"};
    EXPECT_TRUE(CFileUtility::SearchFile(folder, "*.grp", &found, false));
    EXPECT_EQ(found, (Names{"a.grp", "b.grp"}));
    EXPECT_TRUE(CFileUtility::SearchFile(folder, "*.grp", &found, true));
    EXPECT_EQ(found, (Names{"a.grp", "b.grp", "c.grp"}));
    EXPECT_TRUE(CFileUtility::SearchFile(folder, "*.all", &found, false));
    EXPECT_EQ(found, Names{});
    EXPECT_FALSE(CFileUtility::SearchFile(folder + "/missing", "*", &found, false));
    EXPECT_TRUE(CFileUtility::IsFileExist(folder + "/a.grp"));
    EXPECT_FALSE(CFileUtility::IsFileExist(folder + "/sub.grp")) << "a folder";
}

TEST(Files, Deleting) {
    const std::string folder = NewFolder();
    for (const char* name : {"/a.txt", "/b.txt", "/c.txt.bak", "/txt", "/atxt"}) {
        WriteText(folder + name, "");
    }
    EXPECT_TRUE(CFileUtility::DeleteAllFileByExtendName(folder, "txt"));
    EXPECT_EQ(EntriesOf(folder), (std::vector<std::string>{"atxt", "c.txt.bak", "txt"}));
    EXPECT_TRUE(CCommon_Information::RetryDeleteFile(folder + "/txt"));
    EXPECT_TRUE(CCommon_Information::RetryDeleteFile(folder + "/txt")) << "gone already";
    EXPECT_FALSE(CCommon_Information::RetryDeleteFile(folder)) << "a folder";
}

TEST(Files, DeleteFolderFollowsNoLinks) {
    const std::string folder = NewFolder();
    std::filesystem::create_directories(folder + "/work/deep/er");
    std::filesystem::create_directories(folder + "/outside");
    WriteText(folder + "/outside/kept", "");
    std::filesystem::create_symlink(folder + "/outside", folder + "/work/deep/link");
    std::filesystem::create_symlink(folder + "/outside", folder + "/link");
    const std::pair<std::string, bool> rows[] = {{folder + "/work/", true},
                                                 {folder + "/work", true},
                                                 {folder + "/link", false},
                                                 {folder + "/link/", false},
                                                 {folder + "/outside/kept", false},
                                                 {"", false},
                                                 {"/", false},
                                                 {"//", false}};
    for (const auto& [path, gone] : rows) {
        EXPECT_EQ(CUnzip_Utility::DeleteFolder(path, "test"), gone) << path;
    }
    EXPECT_EQ(EntriesOf(folder), (std::vector<std::string>{"link", "outside", "outside/kept"}));
}

TEST(Files, LockIsTheHoldersAloneAndEndsWithIt) {
    const std::string file = NewFolder() + "/lock";
    FileLock first;
    FileLock second;
    using Mode = FileLock::Mode;
    using Result = FileLock::Result;
    EXPECT_EQ(first.Lock(file, Mode::Shared, 0), Result::Locked);
    EXPECT_EQ(second.Lock(file, Mode::Shared, 0), Result::Locked);
    EXPECT_EQ(second.Lock(file, Mode::Exclusive, 0), Result::Busy);
    // A program started meanwhile must not keep the lock.
    EXPECT_EQ(CCommon_Information::ExecForeignModule("sleep 300 & echo $!", file + ".pid", "",
                                                     nullptr, 10000),
              0);
    first.Unlock();
    EXPECT_EQ(second.Lock(file, Mode::Exclusive, 0), Result::Locked);
    CCommon_Information::ExecForeignModule("kill -9 $(cat " + file + ".pid)", "", "", nullptr,
                                           10000);
    EXPECT_EQ(first.Lock(file, Mode::Shared, 1), Result::Busy);
    EXPECT_EQ(first.Lock(file + "/x", Mode::Shared, 0), Result::Failed);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST(Files, LockIsOnTheFileThatOthersFind) {
    const std::string file = NewFolder() + "/lock";
    using Mode = FileLock::Mode;
    FileLock first, second, third;
    ASSERT_EQ(first.Lock(file, Mode::Exclusive, 0), FileLock::Result::Locked);
    std::thread waits(
        [&] { EXPECT_EQ(second.Lock(file, Mode::Exclusive, 10000), FileLock::Result::Locked); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_EQ(unlink(file.c_str()), 0);
    WriteText(file, "");
    first.Unlock();
    waits.join();
    EXPECT_EQ(third.Lock(file, Mode::Exclusive, 0), FileLock::Result::Busy);
    std::filesystem::create_symlink(file, file + ".link");
    EXPECT_EQ(third.Lock(file + ".link", Mode::Exclusive, 0), FileLock::Result::Failed);
}

TEST(Files, MutexNames) {
    const std::pair<const char*, int> rows[] = {
        {nullptr, 0}, {"some.name-1", 0}, {"", EINVAL}, {".x", EINVAL}, {"a/b", EINVAL}};
    for (const auto& [name, expected] : rows) {
        CMutexUtil mutex;
        int error = -1;
        EXPECT_EQ(mutex.Create(1, name, &error), expected == 0);
        EXPECT_EQ(error, expected);
        EXPECT_EQ(mutex.Lock(0), expected == 0);
        CMutexUtil other;
        EXPECT_FALSE(other.Create(1, name, nullptr) && other.Lock(0)) << "held already";
        EXPECT_EQ(mutex.Unlock(), expected == 0);
        EXPECT_FALSE(mutex.Unlock());
        EXPECT_FALSE(mutex.Create(1, "a/b", nullptr) || mutex.Lock(0)) << "the name of before";
    }
}
