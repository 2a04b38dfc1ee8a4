#include "qdmctl/Descriptor.h"

#include "qdmctl/FileAccess.h"
#include "qdmctl/JsonFields.h"
#include "qdmctl/JsonText.h"
#include "qdmctl/TextForms.h"

#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

constexpr std::size_t largestDescriptor = std::size_t{256} * 1024;
constexpr std::size_t mostEntries = 64;
constexpr unsigned mostFunctions = 8;  ///< of a PCI device
constexpr unsigned mostFiles = 1000;
constexpr std::size_t idDigits = 4;
constexpr char placeholder[] = "{architecture}";
constexpr char reinstallHint[] = "install the provider again";

bool IsFileName(const std::string& text) {
    return IsRelativePath(text) && text.find('/') == std::string::npos;
}

std::string Replaced(std::string text, const std::string& folder) {
    const std::size_t at = text.find(placeholder);
    return at == std::string::npos ? text : text.replace(at, sizeof placeholder - 1, folder);
}

bool IsAbsolutePath(const std::string& text) {
    return !text.empty() && text.front() == '/' && IsRelativePath(text.substr(1));
}

bool IsSetting(const std::string& text) {
    const std::size_t colon = text.find(':');
    return IsLabel(text) && text.find(' ') == std::string::npos && colon != std::string::npos &&
           colon > 0 && colon + 1 < text.size();
}

bool IsPciPair(const std::string& text) {
    return text.size() == 2 * idDigits + 1 && text[idDigits] == ':' &&
           IsLowerHex(text.substr(0, idDigits), idDigits) &&
           IsLowerHex(text.substr(idDigits + 1), idDigits);
}

constexpr TextForm schemaForm = {[](const std::string& text) { return text == descriptorSchema; },
                                 "\"qdm.descriptor/1\""};
constexpr TextForm fileNameForm = {IsFileName, "a file name of letters, digits, \"._+-\""};
constexpr TextForm patternForm = {
    [](const std::string& text) { return IsRelativePath(Replaced(text, "x"), true); },
    "a path inside the module, with \"*\" and \"?\""};
constexpr TextForm folderForm = {
    [](const std::string& text) { return IsRelativePath(Replaced(text, "x")); },
    "a path below the install root"};
constexpr TextForm absoluteForm = {IsAbsolutePath, "an absolute path of letters, digits, \"._+-\""};
constexpr TextForm commandForm = {
    [](const std::string& text) { return IsCommand(text, IsFileName); },
    "a file name of letters, digits, \"._+-\", and plain options"};
constexpr TextForm settingForm = {IsSetting, "settings such as \"Key:value\""};
constexpr TextForm pciForm = {IsPciPair, "PCI identifiers such as \"10df:f100\""};

FilePattern ReadPattern(const Json& value, const std::string& where, Faults& faults) {
    JsonFields fields(value, where, faults);
    FilePattern pattern;
    pattern.pattern = fields.Text("pattern", patternForm);
    pattern.name = fields.Text("name", labelForm);
    pattern.atLeast = static_cast<unsigned>(fields.Number("at_least", 0, mostFiles, 1));
    pattern.atMost = static_cast<unsigned>(fields.Number("at_most", 1, mostFiles, 1));
    pattern.messageDefinition = fields.Flag("message_definition");
    fields.RefuseOtherKeys();
    if (pattern.atMost < pattern.atLeast) {
        faults.Add(fields.Place("at_most"), "is less than at_least");
    }
    return pattern;
}

using Files = std::map<std::string, std::vector<FilePattern>>;

Files ReadFiles(const Json& files, const std::string& where, Faults& faults) {
    JsonFields fields(files, where, faults);
    Files read;
    for (const auto& [kind, value] : files.items()) {
        if (!IsModuleKind(kind)) {
            faults.Add(fields.Place(kind), std::string("must be ") + kindForm.description);
            continue;
        }
        const Json& patterns = fields.Array(kind.c_str(), 1, mostEntries);
        for (std::size_t i = 0; i < patterns.size(); ++i) {
            read[kind].push_back(
                ReadPattern(patterns[i], ElementName(fields.Place(kind), i), faults));
        }
    }
    return read;
}

std::map<std::string, std::string> ReadArchitectures(const Json& names, Faults& faults) {
    JsonFields fields(names, "architectures", faults);
    std::map<std::string, std::string> read;
    for (const auto& [name, value] : names.items()) {
        read[name] = fields.Text(name.c_str(), fileNameForm);
    }
    return read;
}

UtilityFacts ReadUtility(const Json& value, Faults& faults) {
    JsonFields fields(value, "utility", faults);
    UtilityFacts facts;
    facts.tool = fields.Text("tool", absoluteForm);
    facts.unpacked = fields.Text("unpacked", folderForm);
    facts.install = fields.Text("install", commandForm);
    facts.forbiddenPackage = fields.Text("forbidden_package", wordForm);
    const Json& files = fields.Array("configuration", 0, mostEntries);
    for (std::size_t i = 0; i < files.size(); ++i) {
        JsonFields file(files[i], ElementName("utility.configuration", i), faults);
        facts.configuration.push_back(
            {file.Text("file", absoluteForm), file.Texts("lines", settingForm, mostEntries)});
        file.RefuseOtherKeys();
    }
    fields.RefuseOtherKeys();
    return facts;
}

DriverFacts ReadDriver(const Json& value, Faults& faults) {
    JsonFields fields(value, "driver", faults);
    DriverFacts facts{fields.Text("preference_file", absoluteForm),
                      fields.Text("preference", labelForm),
                      fields.Has("package") ? fields.Text("package", wordForm) : "",
                      fields.Has("skip_marker") ? fields.Text("skip_marker", folderForm) : ""};
    fields.RefuseOtherKeys();
    return facts;
}

/// A model has either a whole key or the beginning of one.
void ReadModelKey(JsonFields& fields, Model& model, Faults& faults) {
    model.keyHasPciIds = fields.Has("model_key_prefix");
    if (model.keyHasPciIds && fields.Has("model_key")) {
        faults.Add(fields.Place("model_key"), "stands beside model_key_prefix");
    }
    model.modelKey = fields.Text(model.keyHasPciIds ? "model_key_prefix" : "model_key", wordForm);
}

/// `common` are the files of kinds whose modules are the same for all models.
Model ReadModel(const Json& value, const std::string& where, const Files& common, Faults& faults) {
    JsonFields fields(value, where, faults);
    Model model;
    model.vendorClass = fields.Text("vendor_class", wordForm);
    ReadModelKey(fields, model, faults);
    for (const std::string& pair : fields.Texts("pci_ids", pciForm, mostEntries)) {
        model.pciIds.push_back({pair.substr(0, idDigits), pair.substr(idDigits + 1)});
    }
    // 0 stands for any number.
    const auto functions = static_cast<unsigned>(fields.Number("functions", 1, mostFunctions, 0));
    model.functionsAtLeast = functions == 0 ? 1 : functions;
    model.functionsAtMost = functions == 0 ? mostFunctions : functions;
    model.flashedByFunction0 = fields.Flag("flashed_by_function_0");
    model.files = ReadFiles(fields.Object("files"), fields.Place("files"), faults);
    model.files.insert(common.begin(), common.end());
    fields.RefuseOtherKeys();
    return model;
}

bool SharePciIds(const Model& one, const Model& other) {
    const auto same = [](const PciIds& mine, const PciIds& theirs) {
        return mine.vendor == theirs.vendor && mine.device == theirs.device;
    };
    return std::find_first_of(one.pciIds.begin(), one.pciIds.end(), other.pciIds.begin(),
                              other.pciIds.end(), same) != one.pciIds.end();
}

/// The model among the earlier ones that would take the same adapters.
const Model* FindRival(const std::vector<Model>& earlier, const Model& model) {
    const auto rival = std::find_if(earlier.begin(), earlier.end(), [&](const Model& other) {
        return model.functionsAtLeast <= other.functionsAtMost &&
               other.functionsAtLeast <= model.functionsAtMost && SharePciIds(model, other);
    });
    return rival == earlier.end() ? nullptr : &*rival;
}

void ReadModels(const Json& models, const Files& common, Descriptor& descriptor, Faults& faults) {
    for (std::size_t i = 0; i < models.size(); ++i) {
        const std::string where = ElementName("models", i);
        Model model = ReadModel(models[i], where, common, faults);
        if (const Model* rival = FindRival(descriptor.models, model)) {
            faults.Add(where, "fits the same adapters as model " + rival->modelKey);
        }
        descriptor.models.push_back(std::move(model));
    }
}

void UseFolder(Files& files, const std::string& folder) {
    for (auto& [kind, patterns] : files) {
        for (FilePattern& file : patterns) {
            file.pattern = Replaced(file.pattern, folder);
        }
    }
}

Loaded<Descriptor> Refuse(const std::string& path, const std::string& reason,
                          const std::string& hint) {
    Error error;
    error.id = ErrorId::Internal;
    error.message = path + ": " + reason;
    error.hint = hint;
    return {std::nullopt, {error}};
}

std::string FolderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash);
}

}  // namespace

Loaded<Descriptor> ParseDescriptor(const std::string& text, const std::string& path) {
    Faults faults(path);
    const Json json = ParseJson(text, faults);
    Descriptor descriptor;
    if (!faults.Any()) {
        JsonFields fields(json, "", faults);
        descriptor.folder = FolderOf(path);
        fields.Text("schema", schemaForm);
        descriptor.library = fields.Text("library", fileNameForm);
        descriptor.vendorFamily = fields.Text("vendor_family", wordForm);
        descriptor.kernelModule = fields.Text("kernel_module", wordForm);
        descriptor.supportedDevices = fields.Text("supported_devices", fileNameForm);
        descriptor.architectures = ReadArchitectures(fields.Object("architectures"), faults);
        descriptor.utility = ReadUtility(fields.Object("utility"), faults);
        descriptor.driver = ReadDriver(fields.Object("driver"), faults);
        const Files common = ReadFiles(fields.Object("files"), "files", faults);
        ReadModels(fields.Array("models", 1, mostEntries), common, descriptor, faults);
        fields.RefuseOtherKeys();
    }
    if (faults.Any()) {
        return {std::nullopt, faults.AsErrors(ErrorId::Internal, reinstallHint)};
    }
    return {std::move(descriptor), {}};
}

void UseArchitecture(Descriptor& descriptor, const std::string& architecture) {
    const auto known = descriptor.architectures.find(architecture);
    const std::string folder =
        known == descriptor.architectures.end() ? architecture : known->second;
    descriptor.utility.unpacked = Replaced(descriptor.utility.unpacked, folder);
    for (Model& model : descriptor.models) {
        UseFolder(model.files, folder);
    }
}

std::string DistrustOf(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return SystemText(errno);
    }
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        return S_ISLNK(status.st_mode) ? "is a link" : "is no plain file";
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return "belongs to user " + std::to_string(status.st_uid) + ", must belong to root";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "is writable for other users";
    }
    return {};
}

Loaded<Descriptor> LoadDescriptor(const std::string& path) {
    const std::string folder = FolderOf(path);
    for (const std::string& trusted : {folder, path}) {
        const std::string distrust = DistrustOf(trusted);
        if (!distrust.empty()) {
            return Refuse(trusted, distrust, "correct it, or " + std::string(reinstallHint));
        }
    }
    PlainFile file = OpenPlainFile(folder, path.substr(path.rfind('/') + 1));
    const std::string text = file.refusal.empty() ? ReadWhole(file, largestDescriptor) : "";
    if (!file.refusal.empty()) {
        return Refuse(path, file.refusal, reinstallHint);
    }
    return ParseDescriptor(text, path);
}

}  // namespace qdmctl
