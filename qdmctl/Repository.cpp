#include "qdmctl/Repository.h"

#include "host/ComLib/Archive.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/JsonFields.h"
#include "qdmctl/JsonText.h"
#include "qdmctl/TextForms.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

namespace qdmctl {
namespace {

using Json = nlohmann::json;

constexpr std::size_t largestIndex = std::size_t{4} * 1024 * 1024;
constexpr std::size_t mostPackages = 10000;
constexpr std::size_t mostModels = 256;
constexpr char correctHint[] = "correct the index, or write it again";

bool IsModelPattern(const std::string& text) {
    const bool prefix = !text.empty() && text.back() == '*';
    return prefix ? text.size() == 1 || IsWord(text.substr(0, text.size() - 1)) : IsWord(text);
}

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return text;
}

constexpr TextForm schemaForm = {[](const std::string& text) { return text == repositorySchema; },
                                 "\"qdm.repository/1\""};
constexpr TextForm modelForm = {IsModelPattern, "a model key, or the beginning of one and \"*\""};
constexpr TextForm pathForm = {[](const std::string& text) { return IsRelativePath(text); },
                               "a path below the repository's folder, of letters, digits, "
                               "\"._+-\" and \"/\""};
constexpr TextForm digestForm = {[](const std::string& text) {
                                     constexpr std::size_t digits = 64;
                                     return IsLowerHex(LowerCase(text), digits);
                                 },
                                 "64 hexadecimal digits"};

std::string EntryName(std::size_t index) {
    return ElementName("packages", index);
}

PackageEntry ReadEntry(const Json& value, std::size_t index, Faults& faults) {
    JsonFields fields(value, EntryName(index), faults);
    PackageEntry entry;
    entry.index = index;
    entry.kind = fields.Text("kind", kindForm);
    entry.models = fields.Texts("models", modelForm, mostModels);
    entry.version = fields.Text("version", wordForm);
    entry.file = fields.Text("file", pathForm);
    entry.size = fields.Number("size", 1, ArchiveLimits{}.bytes);
    entry.sha256 = LowerCase(fields.Text("sha256", digestForm));
    return entry;
}

bool SameContent(const PackageEntry& one, const PackageEntry& other) {
    return std::tie(one.file, one.size, one.sha256) ==
           std::tie(other.file, other.size, other.sha256);
}

/// Kind, model and version: what an entry offers.
using OfferName = std::tuple<std::string, std::string, std::string>;

/// Nobody can tell which of two entries is meant when they offer different content by one name.
void RefuseContradictions(const std::vector<PackageEntry>& packages, Faults& faults) {
    std::map<OfferName, const PackageEntry*> seen;
    const auto check = [&](const PackageEntry& entry, const std::string& model) {
        const auto [place, isNew] = seen.insert({{entry.kind, model, entry.version}, &entry});
        if (!isNew && !SameContent(*place->second, entry)) {
            faults.Add(EntryName(entry.index), "offers another file than " +
                                                   EntryName(place->second->index) + " for " +
                                                   model + " " + entry.version);
        }
    };
    for (const PackageEntry& entry : packages) {
        for (const std::string& model : entry.models) {
            check(entry, model);
        }
    }
}

Error IndexError(ErrorId id, const std::string& folder, const std::string& message,
                 const std::string& hint) {
    Error error;
    error.id = id;
    error.message = folder + "/" + indexFile + ": ";
    error.message += message;
    error.hint = hint;
    return error;
}

Error VersionError(const Repository& repository, const PackageEntry& entry,
                   const std::string& matchKey) {
    std::string message = EntryName(entry.index) + ".version: \"" + entry.version;
    message += "\" is no version of a " + entry.kind + " module for " + matchKey;
    return IndexError(ErrorId::IndexInvalid, repository.folder, message, correctHint);
}

/// How closely an entry fits a key: 0 not at all, most when it names the key itself, else the more
/// of it the longer its prefix is.
std::size_t FitOf(const PackageEntry& entry, const std::string& matchKey) {
    std::size_t fit = 0;
    for (const std::string& model : entry.models) {
        const bool prefix = model.back() == '*';
        const bool fits =
            prefix ? matchKey.compare(0, model.size() - 1, model, 0, model.size() - 1) == 0
                   : matchKey == model;
        fit = std::max(fit, fits ? model.size() + (prefix ? 0 : 2) : 0);
    }
    return fit;
}

}  // namespace

Loaded<Repository> ParseIndex(const std::string& text, const std::string& folder) {
    Faults faults(folder + "/" + indexFile);
    const Json json = ParseJson(text, faults);
    Repository repository{folder, {}};
    if (!faults.Any()) {
        JsonFields fields(json, "", faults);
        fields.Text("schema", schemaForm);
        const Json& packages = fields.Array("packages", 0, mostPackages);
        for (std::size_t i = 0; i < packages.size(); ++i) {
            repository.packages.push_back(ReadEntry(packages[i], i, faults));
        }
        RefuseContradictions(repository.packages, faults);
    }
    if (faults.Any()) {
        return {std::nullopt, faults.AsErrors(ErrorId::IndexInvalid, correctHint)};
    }
    return {std::move(repository), {}};
}

Loaded<Repository> LoadRepository(const std::string& folder) {
    PlainFile file = OpenPlainFile(folder, indexFile);
    const std::string text = file.refusal.empty() ? ReadWhole(file, largestIndex) : "";
    if (!file.refusal.empty()) {
        return {
            std::nullopt,
            {IndexError(file.missing ? ErrorId::IndexMissing : ErrorId::IndexInvalid, folder,
                        file.refusal,
                        file.missing ? "name a folder that holds an index.json" : correctHint)}};
    }
    return ParseIndex(text, folder);
}

Selection SelectPackage(const Repository& repository, const std::string& kind,
                        const std::string& matchKey, const VersionCompare& compare,
                        const VersionTest& isWellFormed) {
    const PackageEntry* best = nullptr;
    for (const PackageEntry& entry : repository.packages) {
        const std::size_t fit = entry.kind == kind ? FitOf(entry, matchKey) : 0;
        if (fit == 0) {
            continue;
        }
        if (!isWellFormed(entry.version)) {
            return {std::nullopt, VersionError(repository, entry, matchKey)};
        }
        const int order = best == nullptr ? 1 : compare(best->version, entry.version);
        if (order > 0 || (order == 0 && fit > FitOf(*best, matchKey))) {
            best = &entry;
        }
    }
    return best == nullptr ? Selection{} : Selection{*best, std::nullopt};
}

Verdict JudgeVersions(const std::string& installed, const std::string& offered,
                      const VersionCompare& compare, const VersionTest& isWellFormed) {
    if (offered.empty()) {
        return Verdict::None;
    }
    if (IsUnreadable(installed)) {
        return Verdict::Unreadable;
    }
    if (!isWellFormed(installed) || !isWellFormed(offered)) {
        return Verdict::Incomparable;
    }
    const int order = compare(installed, offered);
    return order > 0 ? Verdict::Newer : order < 0 ? Verdict::Older : Verdict::Same;
}

}  // namespace qdmctl
