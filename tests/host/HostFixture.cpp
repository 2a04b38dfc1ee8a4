#include "tests/host/HostFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

std::string MakeTestFolder() {
    std::string folder = ::testing::TempDir();
    folder += folder.back() == '/' ? "qdm-host-tests.XXXXXX" : "/qdm-host-tests.XXXXXX";
    if (mkdtemp(folder.data()) == nullptr) {
        std::abort();
    }
    return folder;
}

class TestFolderEnvironment : public ::testing::Environment {
public:
    // Not when it is made, which listing the tests does, too: nobody would remove the folder.
    void SetUp() override { setenv("QDM_INSTALL_PATH", TestFolder().c_str(), 1); }
    void TearDown() override { std::filesystem::remove_all(TestFolder()); }
};

const auto* const environment =
    ::testing::AddGlobalTestEnvironment(new TestFolderEnvironment());  // owned by the framework

}  // namespace

const std::string& TestFolder() {
    static const std::string folder = MakeTestFolder();
    return folder;
}

std::string NewFolder() {
    static int number = 0;
    std::string folder = TestFolder() + "/" + std::to_string(++number);
    std::filesystem::create_directory(folder);
    return folder;
}

void WriteText(const std::string& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    stream.close();
    ASSERT_TRUE(stream.good()) << file;
}

std::string ReadText(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    EXPECT_TRUE(stream.good()) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> EntriesOf(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        names.push_back(entry.path().lexically_relative(folder));
    }
    std::sort(names.begin(), names.end());
    return names;
}
