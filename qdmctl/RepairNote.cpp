#include "qdmctl/RepairNote.h"

#include "qdmctl/JsonFields.h"
#include "qdmctl/JsonText.h"
#include "qdmctl/StateFile.h"
#include "qdmctl/TextForms.h"

#include <nlohmann/json.hpp>
#include <string_view>

namespace qdmctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr char noteFile[] = "repair.json";
constexpr char noteSchema[] = "qdm.repair-note/1";
constexpr char workFolder[] = "/tmp/EMULEX/temp/";
constexpr int indent = 2;

bool IsAbsolutePath(const std::string& text) {
    return text.rfind('/', 0) == 0 && IsRelativePath(text.substr(1));
}

constexpr TextForm schemaForm = {[](const std::string& text) { return text == noteSchema; },
                                 "\"qdm.repair-note/1\""};
constexpr TextForm utilityForm = {[](const std::string& text) { return text == "util"; },
                                  "\"util\""};
constexpr TextForm pathForm = {IsAbsolutePath,
                               "an absolute path of letters, digits, \"._+-\" and \"/\""};
constexpr TextForm commandForm = {
    [](const std::string& text) { return IsCommand(text, IsAbsolutePath); },
    "an absolute path and plain options"};

bool IsBelow(const std::string& path, const std::string& folder) {
    return path.size() > folder.size() && path.compare(0, folder.size(), folder) == 0;
}

/// The script lies in the folder itself, not deeper.
bool IsScriptOf(const std::string& command, const std::string& folder) {
    const std::string script = command.substr(0, command.find(' '));
    return IsBelow(script, folder + "/") && script.find('/', folder.size() + 1) == script.npos;
}

RepairNote Parse(const std::string& text, const std::string& root, Faults& faults) {
    const auto json = ParseJson(text, faults);
    if (faults.Any()) {
        return {};
    }
    JsonFields fields(json, "", faults);
    static_cast<void>(fields.Text("schema", schemaForm));
    RepairNote note;
    note.kind = fields.Text("kind", utilityForm);
    note.version = fields.Text("version", wordForm);
    note.folder = fields.Text("folder", pathForm);
    note.command = fields.Text("command", commandForm);
    note.missing = fields.Text("missing", pathForm);
    fields.RefuseOtherKeys();
    if (!faults.Any() && !IsBelow(note.folder, root + workFolder)) {
        faults.Add("folder", "must lie below " + root + workFolder);
    }
    if (!faults.Any() && !IsScriptOf(note.command, note.folder)) {
        faults.Add("command", "must be a script of " + note.folder);
    }
    return note;
}

}  // namespace

std::optional<Error> WriteRepairNote(const std::string& root, const RepairNote& note) {
    const Json json = {{"schema", noteSchema},    {"kind", note.kind},
                       {"version", note.version}, {"folder", note.folder},
                       {"command", note.command}, {"missing", note.missing}};
    const std::string text = json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
    Faults faults(StatePath(root, noteFile));
    static_cast<void>(Parse(text, root, faults));
    if (faults.Any()) {
        return faults.AsErrors(ErrorId::Internal, "nothing has been changed").front();
    }
    return WriteState(root, noteFile, text);
}

Loaded<std::optional<RepairNote>> ReadRepairNote(const std::string& root) {
    auto text = ReadState(root, noteFile);
    if (!text) {
        return {std::nullopt, text.errors};
    }
    if (!*text.value) {
        return {std::optional<RepairNote>(), {}};
    }
    Faults faults(StatePath(root, noteFile));
    const RepairNote note = Parse(**text.value, root, faults);
    if (faults.Any()) {
        return {std::nullopt,
                faults.AsErrors(ErrorId::WorkArea,
                                "nothing of it has been run; look into the file, move it away, and "
                                "install the adapter utility by hand if it is missing")};
    }
    return {std::optional<RepairNote>(note), {}};
}

std::string RepairAdvice(const std::string& root) {
    const auto note = ReadRepairNote(root);
    return note && *note.value
               ? "an update has begun to install version " + (*note.value)->version +
                     " of it: run qdmctl repair, which finishes that"
               : std::string();
}

std::optional<Error> RemoveRepairNote(const std::string& root) {
    return RemoveState(root, noteFile);
}

}  // namespace qdmctl
