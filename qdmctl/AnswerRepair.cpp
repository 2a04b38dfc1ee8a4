#include "qdmctl/AnswerRepair.h"

#include "qdmctl/Answer.h"

#include <nlohmann/json.hpp>

namespace qdmctl {
namespace {

Outcome OutcomeOf(const std::string& name) {
    for (const Outcome outcome :
         {Outcome::Updated, Outcome::Skipped, Outcome::Failed, Outcome::NotAttempted}) {
        if (name == NameOf(outcome)) {
            return outcome;
        }
    }
    return Outcome::NotNeeded;
}

}  // namespace

nlohmann::ordered_json RepairToJson(const RepairView& view) {
    nlohmann::ordered_json json = {{"outcome", NameOf(view.outcome)}, {"reason", view.reason}};
    json["note"] = nullptr;
    if (view.note) {
        json["note"] = {{"kind", view.note->kind},
                        {"version", view.note->version},
                        {"missing", view.note->missing},
                        {"folder", view.note->folder},
                        {"command", view.note->command}};
    }
    return json;
}

RepairView RepairFromJson(const nlohmann::json& json) {
    RepairView view;
    view.outcome = OutcomeOf(json.at("outcome").get<std::string>());
    view.reason = json.at("reason").get<std::string>();
    const auto& note = json.at("note");
    if (!note.is_null()) {
        view.note = RepairNote{note.at("kind"), note.at("version"), note.at("folder"),
                               note.at("command"), note.at("missing")};
    }
    return view;
}

std::string RepairToText(const RepairView& view, const TableStyle& style) {
    const std::size_t usable = UsableWidth(style);
    if (!view.note) {
        return Indented("nothing to repair: ", view.reason, usable);
    }
    const char* colour = view.outcome == Outcome::Failed    ? red
                         : view.outcome == Outcome::Updated ? green
                                                            : nullptr;
    const std::string label = "outcome  ";
    const std::string name(NameOf(view.outcome));
    std::string text =
        Indented("utility  ", view.note->version + ", begun to be installed", usable) +
        Indented("gives    ", view.note->missing, usable) +
        Indented("package  ", view.note->folder, usable) +
        Indented("command  ", view.note->command, usable) +
        Indented(label, name + ": " + view.reason, usable);
    return text.replace(text.rfind(label) + label.size(), name.size(),
                        Coloured(name, colour, style));
}

}  // namespace qdmctl
