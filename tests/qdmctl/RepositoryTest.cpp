#include "qdmctl/Repository.h"
#include "tests/host/HostFixture.h"

#include <gtest/gtest.h>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

Json Entry() {
    return {{"kind", "firm"},
            {"models", {"fcelx_16g"}},
            {"version", "11.2.156.27"},
            {"file", "fw.zip"},
            {"size", 123},
            {"sha256", std::string(64, 'a')}};
}

Json Index(const std::vector<Json>& packages) {
    return {{"schema", "qdm.repository/1"}, {"packages", packages}};
}

/// The entry with one key set to another value.
Json With(const std::string& key, const Json& value) {
    Json entry = Entry();
    entry[key] = value;
    return entry;
}
Json Without(const std::string& key) {
    Json entry = Entry();
    entry.erase(key);
    return entry;
}

void ExpectRefused(const std::string& index, const std::string& place) {
    SCOPED_TRACE(index.substr(0, 300));
    const auto repository = ParseIndex(index, "/repo");
    ASSERT_FALSE(repository);
    ASSERT_FALSE(repository.errors.empty());
    EXPECT_EQ(NameOf(repository.errors[0].id), "index-invalid");
    EXPECT_EQ(repository.errors[0].message.find("/repo/index.json: "), 0U);
    EXPECT_NE(repository.errors[0].message.find(place), std::string::npos)
        << repository.errors[0].message;
}

TEST(Repository, RefusesADamagedIndexAndNamesTheFault) {
    const std::string schema = "{\"schema\": \"qdm.repository/1\", ";
    const std::pair<std::string, const char*> rows[] = {
        {"", "line 1: is not valid JSON"},
        {"{\n\"schema\": \"qdm.repository/1\",\n\"packages\": [", "line 3: is not valid JSON"},
        {"{\"schema\": \"\xff\"}", "is not valid JSON"},
        {std::string(200000, '['), "is not valid JSON"},
        {"{\"schema\": 1e999}", "holds a number that is too large"},
        {"[]", "must be an object"},
        {"{\"packages\": []}", "schema: is missing"},
        {"{\"schema\": \"qdm.repository/2\", \"packages\": []}", "schema: must be"},
        {schema + "\"packages\": {}}", "packages: must be an array"},
        {schema + "\"packages\": [7]}", "packages[0]: must be an object"},
        {Index({Without("kind")}).dump(), "packages[0].kind: is missing"},
        {Index({Without("sha256")}).dump(), "packages[0].sha256: is missing"},
        {Index({Entry(), With("file", "other.zip")}).dump(),
         "packages[1]: offers another file than packages[0]"},
        {Index({Entry(), With("sha256", std::string(64, 'b'))}).dump(),
         "packages[1]: offers another file than packages[0]"},
    };
    for (const auto& [index, place] : rows) {
        ExpectRefused(index, place);
    }
}

TEST(Repository, RefusesHostileValuesAndNamesTheirKey) {
    const std::pair<const char*, std::vector<Json>> rows[] = {
        {"kind", {"bios"}},
        {"models", {"fcelx_16g", Json::array(), {"fcelx_16g", 7}, Json::array({"fc*lx"})}},
        {"version", {11, "-1", "11.2$(id)", std::string(65, '1')}},
        {"file",
         {"", "../x.zip", "a/../../x.zip", "/etc/shadow", "a//b.zip", "./b.zip", "dir/", "-x",
          "a\"b.zip", "a\\b.zip", "a*.zip", std::string(256, 'a')}},
        {"size", {0, -1, 123.0, "123", 1ULL << 40U}},
        {"sha256", {std::string(63, 'a'), std::string(64, 'g')}},
    };
    for (const auto& [key, values] : rows) {
        for (const Json& value : values) {
            ExpectRefused(Index({Entry(), With(key, value)}).dump(),
                          "packages[1]." + std::string(key));
        }
    }
}

TEST(Repository, ReportsEveryFaultUpToALimit) {
    Json entry = With("size", 0);
    entry["kind"] = "bios";
    EXPECT_EQ(ParseIndex(Index({entry}).dump(), "/repo").errors.size(), 2U);
    EXPECT_EQ(ParseIndex(Index(std::vector<Json>(500, entry)).dump(), "/repo").errors.size(), 10U);
}

TEST(Repository, ToleratesUnknownKeysTwinsAndUpperCaseDigests) {
    Json entry = With("note", "from the maker");
    entry["sha256"] = std::string(64, 'A');
    entry["file"] = "sub/dir/fw+1.zip";
    const auto repository = ParseIndex(Index({entry, entry}).dump(), "/repo");
    ASSERT_TRUE(repository);
    EXPECT_EQ(repository.value->packages[1].sha256, std::string(64, 'a'));
    EXPECT_TRUE(ParseIndex(Index({}).dump(), "/repo"));
}

TEST(Repository, TellsAMissingIndexFromOneThatMustNotBeRead) {
    const std::string folder = NewFolder(), file = folder + "/index.json";
    const auto id = [&] {
        const auto loaded = LoadRepository(folder);
        return loaded ? "none" : NameOf(loaded.errors.at(0).id);
    };
    EXPECT_EQ(id(), "index-missing");
    WriteText(folder + "/real.json", Index({Entry()}).dump());
    std::filesystem::create_symlink(folder + "/real.json", file);
    EXPECT_EQ(id(), "index-invalid");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(id(), "index-invalid");
    std::filesystem::remove(file);
    WriteText(file, Index({Entry()}).dump() + std::string(5U << 20U, ' '));
    EXPECT_EQ(id(), "index-invalid");
    WriteText(file, Index({Entry()}).dump());
    EXPECT_EQ(id(), "none");
}

/// Versions of these tests are numbers.
int CompareNumbers(const std::string& one, const std::string& other) {
    return std::stoi(other) - std::stoi(one);
}
bool IsNumber(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

PackageEntry Offer(const std::string& kind, const std::string& model, const std::string& version) {
    PackageEntry entry;
    entry.kind = kind;
    entry.models = {model};
    entry.version = version;
    entry.file = model + "-" + version;
    return entry;
}

TEST(Repository, SelectsTheNewestPackageThatFitsClosest) {
    const Repository repository = {
        "/repo",
        {Offer("firm", "fcelx_8g2p_*", "9"), Offer("firm", "fcelx_8g2p_*", "10"),
         Offer("firm", "fcelx_8g2p_10df*", "010"), Offer("firm", "fcelx_16g", "8"),
         Offer("firm", "fcelx_16g*", "08"), Offer("util", "*", "3"),
         Offer("driver", "fcelx_16g", "bad"), Offer("driver", "fcelx_16g", "2")}};
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"firm", "fcelx_8g2p_10df_f100_10df_f100", "fcelx_8g2p_10df*-010"},
        {"firm", "fcelx_8g2p_19a2_0001_19a2_0001", "fcelx_8g2p_*-10"},
        {"firm", "fcelx_8g2p", "none"},
        {"firm", "fcelx_16g", "fcelx_16g-8"},
        {"firm", "fcelx_16gx", "fcelx_16g*-08"},
        {"util", "fcelx_8g1p", "*-3"},
        {"driver", "fcelx_16g",
         "/repo/index.json: packages[0].version: \"bad\" is no version of "
         "a driver module for fcelx_16g"},
    };
    for (const auto& [kind, key, file] : rows) {
        SCOPED_TRACE(key);
        const Selection found = SelectPackage(repository, kind, key, CompareNumbers, IsNumber);
        EXPECT_EQ(found.error     ? found.error->message
                  : found.package ? found.package->file
                                  : "none",
                  file);
    }
}

TEST(Repository, JudgesAnOfferByTheInstalledVersion) {
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"1", "2", "newer"},          {"2", "2", "same"},
        {"3", "2", "older"},          {"", "2", "unreadable"},
        {"1.x", "2", "incomparable"}, {"abnormal", "2", "unreadable"},
        {"abnormal", "", "none"},     {"2", "", "none"}};
    for (const auto& [installed, offered, verdict] : rows) {
        EXPECT_EQ(NameOf(JudgeVersions(installed, offered, CompareNumbers, IsNumber)), verdict)
            << installed << " " << offered;
    }
}

}  // namespace
}  // namespace qdmctl
