#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

#include "host/CUnzip_Utility.h"
#include "host/ComLib/Archive.h"
#include "tests/host/HostFixture.h"
#include "tests/host/ZipSample.h"

namespace {

using Names = std::vector<std::string>;

const std::vector<ZipMember> kSound = {
    {"firm/", "", {}, 042777}, {"firm/a.grp", "image", {}, 0100777}, {"message.txt", "text", {}}};

/// Unpacks `folder`/sample.zip into `target`.
bool Unpack(const std::string& folder, const std::string& target, const Names& files = {},
            std::string* detail = nullptr) {
    std::list<std::string> wanted(files.begin(), files.end());
    return CUnzip_Utility::UpdateModuleUnzip(folder + "/sample.zip", &wanted, target, detail,
                                             "test");
}

/// A new folder with an archive and an empty folder "in".
std::string FolderWith(const std::string& bytes) {
    std::string folder = NewFolder();
    WriteText(folder + "/sample.zip", bytes);
    std::filesystem::create_directory(folder + "/in");
    return folder;
}

/// `reason`: what has to find the fault before others do.
void ExpectRefused(const std::string& bytes, const std::string& reason = "") {
    const std::string folder = FolderWith(bytes);
    std::string detail;
    EXPECT_FALSE(Unpack(folder, folder + "/in", {}, &detail));
    EXPECT_EQ(EntriesOf(folder), (Names{"in", "sample.zip"}));
    EXPECT_FALSE(detail.empty());
    EXPECT_NE(detail.find(reason), std::string::npos) << detail;
    EXPECT_EQ(detail.find('\n'), std::string::npos) << detail;
    EXPECT_EQ(InspectArchive(folder + "/sample.zip").refusal, detail) << "a look finds it";
}

}  // namespace

TEST(Archive, UnpacksAllOrWhatIsNamed) {
    const std::pair<Names, Names> rows[] = {{{"message.txt"}, {"message.txt"}},
                                            {{"firm/a.grp"}, {"firm", "firm/a.grp"}},
                                            {{"message.txt", "b.prg"}, {}},
                                            {{"firm"}, {}},
                                            {{}, {"firm", "firm/a.grp", "message.txt"}}};
    std::string folder;
    for (const auto& [files, after] : rows) {
        SCOPED_TRACE(::testing::PrintToString(files));
        folder = FolderWith(ZipBytes(kSound));
        std::string detail;
        EXPECT_EQ(Unpack(folder, folder + "/in", files, &detail), !after.empty()) << detail;
        EXPECT_EQ(EntriesOf(folder + "/in"), after);
        EXPECT_EQ(detail.empty(), !after.empty());
    }
    EXPECT_EQ(ReadText(folder + "/in/firm/a.grp"), "image");
    EXPECT_EQ(ReadArchiveMember(folder + "/sample.zip", "firm", 5), std::nullopt);
    for (const auto& [name, mode] : {std::pair("/in/firm", 0700), {"/in/firm/a.grp", 0600}}) {
        const auto status = std::filesystem::status(folder + name);
        EXPECT_EQ(static_cast<int>(status.permissions()), mode) << "not that of the archive";
    }
    EXPECT_TRUE(CUnzip_Utility::UpdateModuleUnzip(folder + "/sample.zip", nullptr, folder, nullptr,
                                                  "test"));
}

const ZipMember kGood{"good.txt", "good", {}};

TEST(Archive, HostileNamesAreRefusedBeforeAnythingIsWritten) {
    Names names = {
        "../x",         "a/../../x", "a/..",     "./x",      "/tmp/x",     "a//b",
        "..\\x",        "$(id).grp", "a\".grp",  "a;b.grp",  "a b",        "a\nb",
        "\xc3\xa4.grp", "",          "good.txt", "GOOD.txt", "good.txt/x", "1/2/3/4/5/6/7/8/9/x"};
    names.emplace_back("a.txt\0.grp", 10);
    names.emplace_back(129, 'a');
    names.emplace_back(2000, 'a');
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        ExpectRefused(ZipBytes({kGood, {name, "x", {}}}));
    }
}

TEST(Archive, HostileArchivesAreRefusedBeforeAnythingIsWritten) {
    const ZipMember x{"x", "x", {}};
    const auto with = [&](const ZipMember& member) { return ZipBytes({kGood, member}); };
    const std::string good = ZipBytes({kGood}), twice = ZipBytes({kGood, kGood});
    const auto changed = [](std::string bytes, std::size_t at, char by) {
        return bytes.replace(at, 1, 1, by);
    };
    const std::tuple<const char*, std::string, const char*> rows[] = {
        {"no archive", "#!/bin/sh\n", "no zip archive"},
        {"empty file", "", "no zip archive"},
        {"empty archive", ZipBytes({}), "holds nothing"},
        {"folder over a file", with({"good.txt/", "", {}, 040755}), "of a file and of a folder"},
        {"same folder twice", ZipBytes({{"a/", "", {}, 040755}, {"a/", "", {}, 040755}}),
         "same name twice"},
        {"case twins of folders", ZipBytes({{"a/x", "x", {}}, {"A/y", "y", {}}}), "in case alone"},
        {"symbolic link", with({"link", "/etc/passwd", {}, 0120777}), "link or device"},
        {"device", with({"disk", "", {}, 060600}), "link or device"},
        {"pipe", with({"pipe", "", {}, 010600}), "link or device"},
        {"set-user-id", with({"x", "x", {}, 0104755}), "x: set-user-id"},
        {"set-group-id", with({"x", "x", {}, 0002755}), "x: set-user-id"},
        {"folder by its mode alone", with({"x", "", {}, 040755}), "x: folder without"},
        {"reader makes another name", with({"..\\x", "x", {}}), "..\\x: characters"},
        {"folder with content", with({"dir/", "x", {}, 040755}), "folder with content"},
        {"encrypted", with({"x", "x", {}, 0100644, 0, 1}), "encrypted"},
        {"encrypted for one of two readers", changed(good, 6, 1), ": encrypted"},
        {"other packing method", with({"x", "x", {}, 0100644, 12}), "unknown packing method"},
        {"two packing methods", changed(good, 8, 8), "two packing methods"},
        {"wrong check sum", with({"x", "x", {}, 0100644, 0, 0, {}, true}), "CRC"},
        {"content longer than told", with({"x", "xy", {}, 0100644, 0, 0, "x"}), ""},
        {"damaged content", with({"x", "\xff\xff", {}, 0100644, 8}), ""},
        {"two names", with({"x\ny", "x", "x\nz"}), "two names"},
        {"bomb", with(Bomb("zeros")), "packed too tightly"},
        {"bytes in front", ZipBytes({kGood}, {"#!/bin/sh\n", "", "", ""}), "in front"},
        {"bytes cut off in front", good.substr(1), "is not where the end record tells"},
        {"bytes between", ZipBytes({kGood, x}, {"", "hidden", "", ""}), "bytes between"},
        {"bytes behind a member of unknown size",
         ZipBytes({{"x", "x", {}, 0100644, 0, 8}}, {"", "hidden", "", ""}), "bytes between"},
        {"members over each other", changed(twice, twice.size() - 34, 0), "overlap"},
        {"damaged directory", changed(good, good.find("PK\1\2") + 3, 3), "damaged central"},
        {"comment", ZipBytes({kGood}, {"", "", "comment", ""}), "bytes behind its end"},
        {"comment told of", changed(good, good.size() - 2, 1), "archive comment"},
        {"member in the directory", changed(good, good.size() - 34, 30), "outside the archive"},
        {"bytes behind", ZipBytes({kGood}, {"", "", "", "x"}), "bytes behind its end"},
        {"member not told", ZipBytes({kGood, x}, {"", "", "", "", -1}), "behind the central"},
        {"member too many told", ZipBytes({kGood}, {"", "", "", "", 1}), "cut short"},
    };
    for (const auto& [what, bytes, reason] : rows) {
        SCOPED_TRACE(what);
        ExpectRefused(bytes, reason);
    }
}

TEST(Archive, Limits) {
    const std::string file = NewFolder() + "/sample.zip";
    WriteText(file, ZipBytes({{"a", "12345", {}}, {"b/c/d", "67890", {}}}));
    const std::pair<ArchiveLimits, bool> rows[] = {{{2, 10, 1, 2}, true},
                                                   {{1, 10, 1, 2}, false},
                                                   {{2, 9, 1, 2}, false},
                                                   {{2, 10, 1, 1}, false}};
    for (const auto& [limits, sound] : rows) {
        const ArchiveListing listing = InspectArchive(file, limits);
        EXPECT_EQ(listing.refusal.empty(), sound) << listing.refusal;
        EXPECT_EQ(listing.members.size(), sound ? 2U : 0U);
    }
    EXPECT_EQ(ReadArchiveMember(file, "b/c/d", 5), "67890");
    EXPECT_EQ(ReadArchiveMember(file, "b/c/d", 4), std::nullopt);
    EXPECT_EQ(ReadArchiveMember(file, "b/c", 5), std::nullopt);
    ASSERT_EQ(mkfifo((file + ".pipe").c_str(), 0600), 0);
    EXPECT_EQ(InspectArchive(file + ".pipe").refusal, "is no file");
}

TEST(Archive, EveryTruncationIsRefusedAndNoDamagedByteChangesNames) {
    const std::string file = NewFolder() + "/sample.zip";
    const std::string bytes = ZipBytes(kSound);
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        WriteText(file, bytes.substr(0, size));
        ASSERT_FALSE(InspectArchive(file).refusal.empty()) << size;
    }
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0xff);
        WriteText(file, damaged);
        const ArchiveListing listing = InspectArchive(file);
        if (listing.refusal.empty()) {
            ASSERT_EQ(listing.members.size(), 3U) << at;
            ASSERT_EQ(listing.members[1].name, "firm/a.grp") << at;
            ASSERT_EQ(listing.members[1].bytes, 5U) << at;
        }
    }
}

TEST(Archive, FullDiskLeavesNothingBehind) {
    const std::string folder =
        FolderWith(ZipBytes({{"a/small", "x", {}}, {"a/b/large", std::string(5000, 'x'), {}}}));
    std::string detail;
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full = {1000, before.rlim_max};  // bytes of a file
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    const bool unpacked = Unpack(folder, folder + "/in", {}, &detail);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_FALSE(unpacked);
    EXPECT_NE(detail.find("a/b/large: cannot be written"), std::string::npos) << detail;
    EXPECT_EQ(EntriesOf(folder), (Names{"in", "sample.zip"}));
}

TEST(Archive, FollowsNoLinkAndReplacesNothing) {
    const std::string folder = FolderWith(ZipBytes({{"new", "x", {}}, {"sub/file", "x", {}}}));
    std::filesystem::create_directories(folder + "/outside");
    std::filesystem::create_symlink(folder + "/outside", folder + "/in/sub");
    EXPECT_FALSE(Unpack(folder, folder + "/in"));
    EXPECT_FALSE(Unpack(folder, folder + "/in/sub")) << "a link in the folder's place";
    EXPECT_EQ(EntriesOf(folder), (Names{"in", "in/sub", "outside", "sample.zip"}));
    WriteText(folder + "/outside/new", "kept");
    EXPECT_FALSE(Unpack(folder, folder + "/outside"));
    EXPECT_EQ(ReadText(folder + "/outside/new"), "kept");
}
