#include "qdmctl/PendingUpdates.h"

#include "qdmctl/Answer.h"
#include "qdmctl/JsonFields.h"
#include "qdmctl/JsonText.h"
#include "qdmctl/StateFile.h"
#include "qdmctl/TextForms.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

using Json = nlohmann::ordered_json;

constexpr char storeFile[] = "pending.json";
constexpr char storeSchema[] = "qdm.pending-store/1";
constexpr std::size_t mostUpdates = 3;  // one for each kind of module
constexpr std::size_t mostPorts = 1024;
constexpr int indent = 2;

constexpr TextForm schemaForm = {[](const std::string& text) { return text == storeSchema; },
                                 "\"qdm.pending-store/1\""};
constexpr TextForm optionalForm = {
    [](const std::string& text) { return text.empty() || IsWord(text); },
    "empty, or up to 64 letters, digits, \"_\", \".\" and \"-\""};
constexpr TextForm stateForm = {
    [](const std::string& text) { return text == "pending" || text == "refuted"; },
    "\"pending\" or \"refuted\""};

PendingUpdate ReadUpdate(const nlohmann::json& value, std::size_t index, Faults& faults) {
    JsonFields fields(value, ElementName("updates", index), faults);
    PendingUpdate update;
    update.kind = fields.Text("kind", kindForm);
    update.version = fields.Text("version", wordForm);
    update.previous = fields.Text("previous", optionalForm);
    update.bootId = fields.Text("boot_id", optionalForm);
    update.deviceIds = fields.Texts("device_ids", labelForm, mostPorts);
    update.state = fields.Text("state", stateForm) == "refuted" ? PendingState::Refuted
                                                                : PendingState::Pending;
    fields.RefuseOtherKeys();
    return update;
}

bool SameKind(const PendingUpdate& one, const PendingUpdate& other) {
    return one.kind == other.kind;
}

std::vector<PendingUpdate> Parse(const std::string& text, Faults& faults) {
    const auto json = ParseJson(text, faults);
    if (faults.Any()) {
        return {};
    }
    JsonFields fields(json, "", faults);
    static_cast<void>(fields.Text("schema", schemaForm));
    std::vector<PendingUpdate> updates;
    for (const auto& value : fields.Array("updates", 0, mostUpdates)) {
        const PendingUpdate update = ReadUpdate(value, updates.size(), faults);
        if (std::any_of(updates.begin(), updates.end(),
                        [&](const auto& other) { return SameKind(update, other); })) {
            faults.Add(ElementName("updates", updates.size()), "repeats a kind");
        }
        updates.push_back(update);
    }
    fields.RefuseOtherKeys();
    return updates;
}

std::string TextOf(const std::vector<PendingUpdate>& updates) {
    Json json = {{"schema", storeSchema}, {"updates", Json::array()}};
    for (const PendingUpdate& update : updates) {
        json["updates"].push_back({{"kind", update.kind},
                                   {"version", update.version},
                                   {"previous", update.previous},
                                   {"boot_id", update.bootId},
                                   {"device_ids", update.deviceIds},
                                   {"state", NameOf(update.state)}});
    }
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace

std::optional<Error> PendingUpdates::Load() {
    auto text = ReadState(root, storeFile);
    if (!text) {
        return text.errors.front();
    }
    const std::string path = StatePath(root, storeFile);
    Faults faults(path);
    std::vector<PendingUpdate> read;
    if (*text.value) {
        read = Parse(**text.value, faults);
    }
    if (faults.Any()) {
        return faults
            .AsErrors(ErrorId::WorkArea,
                      "nothing has been changed; look into the file, move it away, and see with "
                      "qdmctl list whether the versions that it names operate")
            .front();
    }
    updates = std::move(read);
    loaded = true;
    return std::nullopt;
}

std::optional<Error> PendingUpdates::Record(const PendingUpdate& update) {
    std::vector<PendingUpdate> changed = updates;
    const auto place = std::find_if(changed.begin(), changed.end(),
                                    [&](const auto& other) { return SameKind(update, other); });
    PendingUpdate& recorded = place == changed.end() ? changed.emplace_back() : *place;
    recorded = update;
    if (IsUnreadable(recorded.previous)) {
        recorded.previous.clear();
    }
    return Save(std::move(changed));
}

std::optional<Error> PendingUpdates::Drop(const std::string& kind) {
    std::vector<PendingUpdate> changed = updates;
    changed.erase(std::remove_if(changed.begin(), changed.end(),
                                 [&](const auto& update) { return update.kind == kind; }),
                  changed.end());
    return changed.size() == updates.size() ? std::nullopt : Save(std::move(changed));
}

const PendingUpdate* PendingUpdates::Find(const std::string& kind) const {
    const auto found = std::find_if(updates.begin(), updates.end(),
                                    [&](const auto& update) { return update.kind == kind; });
    return found == updates.end() ? nullptr : &*found;
}

/// What could not be read again is not written.
std::optional<Error> PendingUpdates::Save(std::vector<PendingUpdate> changed) {
    const std::string text = TextOf(changed);
    Faults faults(StatePath(root, storeFile));
    static_cast<void>(Parse(text, faults));
    if (!loaded || faults.Any()) {
        return MakeError(ErrorId::Internal,
                         "a pending update cannot be recorded in " + StatePath(root, storeFile),
                         "it takes effect with the next reboot all the same; look then with "
                         "qdmctl list");
    }
    if (auto error = WriteState(root, storeFile, text)) {
        return error;
    }
    updates = std::move(changed);
    return std::nullopt;
}

PendingState JudgeUpdate(const PendingUpdate& update, const std::string& bootId,
                         const std::string& operating, const VersionComparison& compare) {
    if (IsUnreadable(operating)) {
        return update.state;
    }
    if (compare(operating, update.version) == 0) {
        return PendingState::Confirmed;
    }
    return IsBootedSince(update, bootId) ? PendingState::Refuted : update.state;
}

bool IsBootedSince(const PendingUpdate& update, const std::string& bootId) {
    return !bootId.empty() && !update.bootId.empty() && bootId != update.bootId;
}

std::string_view NameOf(PendingState state) {
    switch (state) {
        case PendingState::Confirmed:
            return "confirmed";
        case PendingState::Refuted:
            return "refuted";
        case PendingState::Pending:
            break;
    }
    return "pending";
}

}  // namespace qdmctl
