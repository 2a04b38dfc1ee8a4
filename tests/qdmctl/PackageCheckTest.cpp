#include "qdmctl/PackageCheck.h"
#include "tests/host/HostFixture.h"
#include "tests/host/ZipSample.h"

#include <gtest/gtest.h>
#include <sodium/crypto_hash_sha256.h>
#include <sodium/utils.h>
#include <sys/stat.h>
#include <filesystem>

namespace qdmctl {
namespace {

namespace fs = std::filesystem;

using Members = std::vector<ZipMember>;

std::string Digest(const std::string& data) {
    unsigned char digest[crypto_hash_sha256_BYTES];
    crypto_hash_sha256(digest, reinterpret_cast<const unsigned char*>(data.data()), data.size());
    char text[2 * sizeof digest + 1];
    return sodium_bin2hex(text, sizeof text, digest, sizeof digest);
}

class PackageCheck : public testing::Test {
protected:
    std::string Write(const std::string& name, const std::string& content) const {
        WriteText(folder + "/" + name, content);
        return name;
    }

    /// The index entry that describes a file of the repository rightly.
    PackageEntry EntryOf(const std::string& file) const {
        PackageEntry entry;
        entry.kind = "firm";
        entry.file = file;
        entry.size = fs::file_size(folder + "/" + file);
        entry.sha256 = Digest(ReadText(folder + "/" + file));
        return entry;
    }

    /// "ok", or name and message of the error. A copy is there exactly when the check passes.
    std::string Check(const PackageEntry& entry, std::size_t model = 0) const {
        fs::remove(staging);
        const auto error = CheckPackage(entry, descriptor.models[model], folder, staging);
        EXPECT_EQ(fs::exists(staging), !error.has_value());
        return error ? std::string(NameOf(error->id)) + " " + error->message : "ok";
    }

    const std::string folder = NewFolder();
    const std::string staging = folder + "/staged.zip";
    const Descriptor descriptor =
        ParseDescriptor(ReadText(QDM_SHIPPED_DESCRIPTOR), QDM_SHIPPED_DESCRIPTOR).value.value();
};

const std::string good = "SuccessMessage=Download Complete\nEndMessage=Done\n";

TEST_F(PackageCheck, HoldsAnArchiveAgainstTheModelsFiles) {
    const ZipMember grp{"fw.grp", "x", {}}, all{"f.all", "x", {}}, prg{"b.prg", "x", {}};
    const auto message = [](const std::string& text) { return ZipMember{"message.txt", text, {}}; };
    const struct {
        std::size_t model;
        Members members;
        const char* expected;
    } rows[] = {
        {0, {grp}, "ok"},
        {0, {grp, message(good), {"notes.txt", "", {}}}, "ok"},
        {0, {all}, "holds no firmware image (*.grp)"},
        {0, {{"sub/fw.grp", "x", {}}}, "holds no firmware image (*.grp)"},
        {0, {grp, {"b.grp", "x", {}}}, "holds 2 times a firmware image"},
        {0, {grp, message("Success=1\n")}, "has no line"},
        {0, {grp, {"../x", "x", {}}}, "package-unsuitable"},
        {2, {prg, all, message(good)}, "ok"},
        {1, {prg, all}, "holds no message file (message.txt)"},
        {1, {all, message(good)}, "holds no boot BIOS image (*.prg)"},
        {1, {prg, message(good)}, "holds no firmware image (*.all)"},
        {1,
         {prg, all, message("\nEndMessage=a\nxSuccessMessage=b\n")},
         "message.txt has \"SuccessMessage=\" not at the beginning"},
        {1,
         {prg, all, message("SuccessMessage=\n")},
         "message.txt has no line \"SuccessMessage=\""},
        {1,
         {prg, all, message(good + "SuccessMessage=\r\n")},
         "message.txt has an empty message behind SuccessMessage="},
        {1, {prg, all, message("SuccessMessage=Complete\r\n")}, "ok"},
    };
    for (const auto& row : rows) {
        const std::string result =
            Check(EntryOf(Write("module.zip", ZipBytes(row.members))), row.model);
        EXPECT_NE(result.find(row.expected), std::string::npos) << row.expected << ": " << result;
        EXPECT_EQ(result == "ok", result.find("package-unsuitable") == std::string::npos) << result;
    }
}

TEST_F(PackageCheck, RefusesWhatIsNotTheFileOfTheIndex) {
    const std::string content = ZipBytes({{"fw.grp", "x", {}}});
    const PackageEntry right = EntryOf(Write("real.zip", content));
    EXPECT_EQ(Check(right), "ok");
    EXPECT_EQ(ReadText(staging), content);
    EXPECT_EQ(fs::status(staging).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    Write("longer.zip", content + "x");
    fs::create_symlink("real.zip", folder + "/link.zip");
    fs::create_directory_symlink(".", folder + "/here");
    ASSERT_EQ(mkfifo((folder + "/pipe.zip").c_str(), S_IRUSR | S_IWUSR), 0);
    const struct {
        const char* file;
        std::uint64_t size;
        std::string digest;
        const char* error;
    } rows[] = {{"longer.zip", right.size, right.sha256, "package-damaged"},
                {"real.zip", right.size + 1, right.sha256, "package-damaged"},
                {"real.zip", right.size, Digest("other"), "package-damaged"},
                {"none/none.zip", right.size, right.sha256, "package-missing"},
                {"link.zip", right.size, right.sha256, "package-missing"},
                {"here/real.zip", right.size, right.sha256, "package-missing"},
                {"pipe.zip", right.size, right.sha256, "package-missing"}};
    for (const auto& row : rows) {
        PackageEntry entry = right;
        entry.file = row.file;
        entry.size = row.size;
        entry.sha256 = row.digest;
        EXPECT_EQ(Check(entry).find(row.error), 0U) << row.file;
    }
}

TEST_F(PackageCheck, ReadsFilesOfManyBlocksAndRefusesWhatIsNoArchive) {
    std::string noise;
    for (unsigned value = 1; noise.size() < 700000; value = value * 1103515245U + 12345U) {
        noise += static_cast<char>(value >> 24U);
    }
    const std::string whole = ZipBytes({{"fw.grp", noise, {}}});
    EXPECT_EQ(Check(EntryOf(Write("big.zip", whole))), "ok");
    for (const std::string& bytes : {noise, whole.substr(0, 400000)}) {
        EXPECT_EQ(Check(EntryOf(Write("cut.zip", bytes))).find("package-unsuitable"), 0U);
    }
}

TEST_F(PackageCheck, KnowsNothingOfOtherKindsAndNeverWritesOverAFile) {
    PackageEntry entry = EntryOf(Write("module.zip", ZipBytes({{"fw.grp", "x", {}}})));
    Write("precious", "content");
    const auto error = CheckPackage(entry, descriptor.models[0], folder, folder + "/precious");
    ASSERT_TRUE(error);
    EXPECT_EQ(NameOf(error->id), "work-area");
    EXPECT_EQ(ReadText(folder + "/precious"), "content");
    entry.kind = "driver";
    EXPECT_EQ(Check(entry).find("package-unsuitable"), 0U);
}

}  // namespace
}  // namespace qdmctl
