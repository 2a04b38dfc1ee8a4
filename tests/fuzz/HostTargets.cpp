#include "host/CStringUtil.h"
#include "host/CUnzip_Utility.h"
#include "host/ComLib/Archive.h"
#include "host/ComLib/PciDevices.h"
#include "provider/common/CEmulexCommon.h"
#include "qdmctl/AnswerFromJson.h"
#include "qdmctl/AnswerJson.h"
#include "qdmctl/Descriptor.h"
#include "qdmctl/Options.h"
#include "qdmctl/Repository.h"
#include "qdmctl/Step.h"
#include "qdmctl/TextForms.h"
#include "tests/fuzz/Fuzz.h"

#include <cstring>
#include <filesystem>
#include <set>

namespace fs = std::filesystem;

namespace {

using Names = std::set<std::string>;

Names EntriesOf(const std::string& folder) {
    Names names;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        names.insert(entry.path().lexically_relative(folder));
    }
    return names;
}

/// What a sound archive unpacks to: its members and the folders above them.
Names Expected(const ArchiveListing& listing) {
    Names names;
    for (const ArchiveMember& member : listing.members) {
        for (fs::path path = member.name; !path.empty(); path = path.parent_path()) {
            names.insert(path);
        }
    }
    return names;
}

/// What is written is what is read.
template <class Read, class Write>
void RequireStable(const std::string& text, Read read, Write write) {
    if (const auto value = read(text)) {
        const std::string written = write(*value);
        const auto again = read(written);
        Fuzz::Require(again && write(*again) == written, "what is written is what is read");
    }
}

}  // namespace

namespace Fuzz {

void DeviceIdentifiers(const std::string& text) {
    const auto id = ParseDeviceIdentifier(text);
    std::string vendor, device;
    Require(CStringUtil::GetVenIdDevIdformDeviceId(text, vendor, device) == id.has_value(),
            "both readers agree");
    Require(!id || id->Text() == text || id->Text() == "0000:" + text, "only the canonical form");
}

void Archives(const std::string& bytes) {
    const std::string work = Folder() + "/work";
    fs::remove_all(work);
    fs::create_directories(work + "/inside");
    const std::string archive = Put("work/module.zip", bytes);
    const ArchiveListing listing = InspectArchive(archive);
    const bool unpacked =
        CUnzip_Utility::UpdateModuleUnzip(archive, nullptr, work + "/inside", nullptr, "fuzz");
    Require(unpacked == listing.refusal.empty(), "what is found sound is unpacked");
    Require(EntriesOf(work + "/inside") == Expected(listing), "its members and nothing else");
    fs::remove_all(work + "/inside");
    Require(EntriesOf(work) == Names{"module.zip"}, "nothing outside of the folder");
}

void RepositoryIndex(const std::string& text) {
    const auto repository = qdmctl::ParseIndex(text, "/repo");
    Require(repository.value.has_value() == repository.errors.empty(), "a value, or errors");
    const auto choice = qdmctl::SelectPackage(
        repository.value.value_or(qdmctl::Repository()), "firm", "fcelx_16g",
        CEmulexCommon::CheckVendorVersion4SegNormal, CStringUtil::CheckVersion4SegFormat);
    Require(!choice.package || (!choice.error && qdmctl::IsRelativePath(choice.package->file)),
            "a package below the repository, an error, or neither");
}

void DescriptorFile(const std::string& text) {
    const auto descriptor = qdmctl::ParseDescriptor(text, "/opt/EMULEX_FC.json");
    Require(descriptor.value.has_value() == descriptor.errors.empty(), "a value, or errors");
    Require(!descriptor.value || (!descriptor.value->models.empty() &&
                                  descriptor.value->library.find('/') == std::string::npos),
            "models, and a library in the descriptor's folder");
}

void CommandLines(const std::string& text) {
    std::vector<const char*> arguments = {"qdmctl"};
    std::string words = text;
    for (char* word = std::strtok(words.data(), "\n"); word; word = std::strtok(nullptr, "\n")) {
        arguments.push_back(word);
    }
    const auto line =
        qdmctl::ParseCommandLine(static_cast<int>(arguments.size()), arguments.data());
    Require(line.proceed == line.text.empty(), "options, or a text");
    Require(!line.proceed || line.options.command != nullptr, "a command to proceed with");
    Require(!line.wrong || !line.hint.empty(), "a mistake with a hint");
}

void WorkerAnswer(const std::string& text) {
    RequireStable(text, qdmctl::FromJson, qdmctl::ToJson);
}

void StepText(const std::string& text) {
    RequireStable(text, qdmctl::StepFromText, qdmctl::ToText);
}

}  // namespace Fuzz
