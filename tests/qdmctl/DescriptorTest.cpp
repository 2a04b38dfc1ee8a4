#include "qdmctl/Descriptor.h"
#include "tests/host/HostFixture.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

TEST(Descriptor, RefusesWhatIsNotExactlyOneAndNamesFileAndKey) {
    // Each row sets one value of the shipped descriptor; null takes the key away.
    const std::tuple<const char*, Json, const char*> rows[] = {
        {"/schema", "qdm.descriptor/2", "schema: must be"},
        {"/library", nullptr, "library: is missing"},
        {"/library", "../lib.so", "library: must be"},
        {"/library", "..", "library: must be"},
        {"/library", "sub/lib.so", "library: must be"},
        {"/kernel_module", "lpfc; id", "kernel_module: must be"},
        {"/supported_devices", 7, "supported_devices: must be"},
        {"/libary", "typing error", "libary: is no known key"},
        {"/architectures/x86_64", "../x64", "architectures.x86_64: must be"},
        {"/utility/tool", "usr/sbin/hbacmd", "utility.tool: must be"},
        {"/utility/unpacked", "/tmp/{architecture}", "utility.unpacked: must be"},
        {"/utility/install", "install.sh -q; id", "utility.install: must be"},
        {"/utility/forbidden_package", "--all", "utility.forbidden_package: must be"},
        {"/utility/configuration/0/lines", {"Key"}, "configuration[0].lines: each must be"},
        {"/utility/configuration/1/key", "x", "utility.configuration[1].key: is no known"},
        {"/driver", nullptr, "driver: is missing"},
        {"/files/util/0/pattern", "{architectur}/x", "files.util[0].pattern: must be"},
        {"/models", Json::array(), "models: must be an array"},
        {"/models/0/vendor_class", "", "models[0].vendor_class: must be"},
        {"/models/0/model_key", nullptr, "models[0].model_key: is missing"},
        {"/models/2/model_key", "fcelx_8g2p", "models[2].model_key: stands beside"},
        {"/models/0/pci_ids", {"10DF:E200"}, "models[0].pci_ids: each must be"},
        {"/models/0/pci_ids", {"10df:f100"}, "models[1]: fits the same adapters as model fcelx"},
        {"/models/1/functions", 0, "models[1].functions: must be"},
        {"/models/1/functions", 2, "models[2]: fits the same adapters"},
        {"/models/0/files/bios", Json::array({{{"pattern", "x"}, {"name", "x"}}}),
         "models[0].files.bios: must be"},
        {"/models/0/files/firm", Json::array(), "models[0].files.firm: must be"},
        {"/models/0/files/firm/0/pattern", "../*.grp", "models[0].files.firm[0].pattern: must be"},
        {"/models/0/files/firm/0/at_least", 2, "models[0].files.firm[0].at_most: is less"},
        {"/models/0/files/firm/1/message_definition", 1, "message_definition: must be true"},
        {"/models/0/files/firm/1/optional", true, "models[0].files.firm[1].optional: is no known"},
    };
    for (const auto& [pointer, value, fault] : rows) {
        SCOPED_TRACE(fault);
        const Json::json_pointer place(pointer);
        Json json = Json::parse(ReadText(QDM_SHIPPED_DESCRIPTOR));
        json[place] = value;
        if (value.is_null()) {
            json[place.parent_pointer()].erase(place.back());
        }
        const auto descriptor = ParseDescriptor(json.dump(), "/provider/EMULEX_FC.json");
        ASSERT_FALSE(descriptor);
        const std::string& message = descriptor.errors.at(0).message;
        EXPECT_EQ(message.find("/provider/EMULEX_FC.json: "), 0U) << message;
        EXPECT_NE(message.find(fault), std::string::npos) << message;
    }
}

TEST(Descriptor, NamesTheFilesOfAMachinesArchitecture) {
    const std::string text = ReadText(QDM_SHIPPED_DESCRIPTOR);
    for (const auto& [machine, folder] :
         {std::pair("x86_64", "x64"), {"i686", "x86"}, {"aarch64", "aarch64"}}) {
        Descriptor descriptor = ParseDescriptor(text, QDM_SHIPPED_DESCRIPTOR).value.value();
        UseArchitecture(descriptor, machine);
        EXPECT_EQ(descriptor.utility.unpacked, std::string("tmp/EMULEX/temp/tmp/") + folder);
        for (const Model& model : descriptor.models) {
            EXPECT_EQ(model.files.at("util").at(1).pattern, std::string(folder) + "/install.sh");
            EXPECT_EQ(model.files.at("driver").at(0).pattern, std::string(folder) + "/FC/*.rpm");
        }
    }
}

TEST(Descriptor, IsReadOnlyWhereNobodyElseMayWrite) {
    namespace fs = std::filesystem;
    const std::string folder = NewFolder(), file = folder + "/EMULEX_FC.json";
    WriteText(file, ReadText(QDM_SHIPPED_DESCRIPTOR));
    const auto load = [&](fs::perms ofFile, fs::perms ofFolder) {
        fs::permissions(file, ofFile);
        fs::permissions(folder, ofFolder);
        const auto descriptor = LoadDescriptor(file);
        return descriptor ? "" : descriptor.errors.at(0).message;
    };
    const auto ours = fs::perms::owner_all;
    EXPECT_EQ(load(ours, ours), "");
    EXPECT_EQ(load(ours | fs::perms::others_write, ours), file + ": is writable for other users");
    EXPECT_EQ(load(ours | fs::perms::group_write, ours), file + ": is writable for other users");
    EXPECT_EQ(load(ours, ours | fs::perms::others_write), folder + ": is writable for other users");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(file.c_str(), 1234, 1234), 0);
        EXPECT_EQ(load(ours, ours), file + ": belongs to user 1234, must belong to root");
    }
    EXPECT_NE(LoadDescriptor(folder + "/missing.json").errors.at(0).message.find("No such file"),
              std::string::npos);
}

}  // namespace
}  // namespace qdmctl
