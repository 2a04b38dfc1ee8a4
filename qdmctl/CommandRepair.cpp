#include "host/CCommon_Information.h"
#include "host/CTraceUtility.h"
#include "host/CUtility.h"
#include "host/CVendor.h"
#include "qdmctl/Command.h"
#include "qdmctl/FileAccess.h"
#include "qdmctl/ModuleKinds.h"
#include "qdmctl/RepairFolder.h"
#include "qdmctl/RepairState.h"
#include "qdmctl/Session.h"
#include "qdmctl/StateFile.h"

#include <climits>
#include <sstream>
#include <utility>

namespace qdmctl {
namespace {

constexpr char OutputName[] = "tmp/qdmctl/repair.txt";
constexpr std::size_t LongestOutput = std::size_t{1} << 20;
/// A utility that has just been installed may need a moment.
constexpr int Attempts = 2;

/// How the utility answers now.
struct Look {
    std::string version;        ///< empty: there is none, or it does not tell
    bool asNoted = false;       ///< it is the version that was to be installed
    std::vector<Error> errors;  ///< on the way, which a missing utility brings with it
};

void ReadVersion(Session& session, PortSession& port, const RepairNote& note, Look& look) {
    CModuleManager* module = ModuleOfKind(*port.vendor, note.kind);
    for (int attempt = 0; attempt < Attempts && module != nullptr && look.version.empty();
         ++attempt) {
        session.Reading(session.ReadingStep("reading versions", &port), [&] {
            module->UpdateRestore({});
            const std::string version = module->GetOperatingVersion();
            look.version = IsUnreadable(version) ? std::string() : version;
            port.view.versions.utility = look.version;
        });
    }
    look.asNoted = module != nullptr && !look.version.empty() &&
                   module->CheckVendorVersion(look.version, note.version) == 0;
}

Look LookAtUtility(Session& session, const RepairNote& note) {
    Look look;
    std::vector<Error> before = std::exchange(session.answer.errors, {});
    const bool linked = session.Link();
    for (PortSession& port : session.Ports()) {
        if (linked && look.version.empty() && !session.Stopped()) {
            ReadVersion(session, port, note, look);
        }
    }
    look.errors = std::exchange(session.answer.errors, std::move(before));
    return look;
}

/// What the command has printed goes to the trace, its last line to the answer.
std::string TraceOutput(const std::string& root) {
    PlainFile file = OpenPlainFile(root, OutputName);
    std::istringstream output(file.refusal.empty() ? ReadWhole(file, LongestOutput) : "");
    std::string last;
    for (std::string line; std::getline(output, line);) {
        CTraceUtility::WriteDebug("qdmctl", CTraceUtility::TRACE_DBG_INFO, "repair: %s",
                                  line.c_str());
        last = line.empty() ? last : line;
    }
    return last;
}

struct Ran {
    int started = 0;  ///< 0: it has run
    unsigned long status = 0;
    std::string lastLine;
};

std::string Told(const Ran& ran) {
    if (ran.started != 0) {
        return "the command could not be started";
    }
    return "the command ended with status " + std::to_string(ran.status) +
           (ran.lastLine.empty() ? " and printed nothing" : ", its last line: " + ran.lastLine);
}

class Repair {
public:
    Repair(Session& session, RepairView& view) : session(session), view(view), note(*view.note) {}

    void Run() {
        Tell(Outcome::NotAttempted, "nothing has been run");
        if (!session.OpenPorts()) {
            return;
        }
        const Look look = LookAtUtility(session, note);
        if (session.Stopped()) {
            return;
        }
        const bool brokenOff = BrokenInstallation(session, note).has_value();
        if (look.version.empty() || brokenOff) {
            Install(brokenOff ? "The installation of the adapter utility has broken off"
                              : note.missing + " is missing");
        } else {
            TellPresent(look);
        }
    }

private:
    void Tell(Outcome outcome, const std::string& reason) {
        view.outcome = outcome;
        view.reason = reason;
    }

    void TellPresent(const Look& look) {
        const std::string answers = "the adapter utility answers with version " + look.version;
        if (!look.asNoted) {
            Tell(Outcome::Skipped,
                 answers + ", so nothing is missing; to have " + note.version +
                     ", run qdmctl update, which also ends this matter; to stay with " +
                     look.version + ", delete " + StatePath(session.Root(), "repair.json"));
        } else if (session.options.dryRun) {
            Tell(Outcome::NotNeeded, answers + ", as it should");
        } else {
            Tell(Outcome::NotNeeded, answers + ", as it should: nothing is left to repair");
            Forget();
        }
    }

    void Forget() {
        if (auto error = RemoveRepairNote(session.Root())) {
            session.answer.errors.push_back(std::move(*error));
        }
    }

    void Install(const std::string& why) {
        if (auto error = CheckRepairFolder(session.Root(), note)) {
            session.answer.errors.push_back(std::move(*error));
        } else if (session.options.dryRun) {
            Tell(Outcome::NotAttempted, "dry run: nothing has been run");
        } else if (!session.options.yes && !session.console.Ask(Question(why))) {
            Tell(Outcome::NotAttempted, "not confirmed: nothing has been run");
            static_cast<void>(session.Stopped());
        } else if (const auto ran = RunCommand()) {
            Check(*ran);
        }
    }

    std::string Question(const std::string& why) const {
        return why + ". To be run, in " + note.folder + ":\n  " + note.command +
               "\nIt installs the adapter utility " + note.version + ". Go ahead?";
    }

    std::optional<Ran> RunCommand() {
        Step step = session.ReadingStep("installing the adapter utility", nullptr);
        step.changing = step.announce = true;
        step.deadlineMs = 0;
        Tell(Outcome::Failed, "begun, and not known to have ended");
        session.console.Report(session.answer);
        const StepScope running(session.console, step);
        if (!running) {
            Tell(Outcome::NotAttempted, "nothing has been run");
            static_cast<void>(session.Stopped());
            return std::nullopt;
        }
        Ran ran;
        ran.started = CCommon_Information::ExecForeignModule(
            note.command, session.Root() + "/" + OutputName, note.folder, &ran.status, ULONG_MAX);
        ran.lastLine = TraceOutput(session.Root());
        return ran;
    }

    /// The utility itself has the last word, whatever its installation told.
    void Check(const Ran& ran) {
        Look look = LookAtUtility(session, note);
        if (look.asNoted) {
            Tell(Outcome::Updated, "the adapter utility answers with version " + look.version);
            Forget();
            return;
        }
        if (look.version.empty() && session.Stopped()) {
            Tell(Outcome::Failed,
                 Told(ran) + "; whether the adapter utility answers was not looked at");
            return;
        }
        const bool missing = !look.errors.empty() && look.errors[0].id == ErrorId::ToolMissing;
        const std::string answers = missing ? note.missing + " is still missing"
                                    : look.version.empty()
                                        ? "the adapter utility does not answer"
                                        : "the adapter utility answers with " + look.version;
        Tell(Outcome::Failed, answers + " after the command has been run");
        session.AddError(ErrorId::RepairFailed, Told(ran) + "; " + answers,
                         "mend what it tells and run qdmctl repair again (--trace FILE keeps all "
                         "that it prints); or " +
                             ByHandHint(note));
        session.answer.errors.back().kind = note.kind;
        if (!missing) {
            session.answer.errors.insert(session.answer.errors.end(), look.errors.begin(),
                                         look.errors.end());
        }
    }

    Session& session;
    RepairView& view;
    const RepairNote note;
};

}  // namespace

Answer RunRepair(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    if (!session.OpenWorkArea()) {
        return answer;
    }
    auto read = ReadRepairNote(session.Root());
    if (!read) {
        answer.errors = std::move(read.errors);
        return answer;
    }
    answer.repair = RepairView{*read.value, Outcome::NotNeeded,
                               "no installation of the adapter utility is unfinished"};
    if (answer.repair->note) {
        Repair(session, *answer.repair).Run();
    }
    return answer;
}

}  // namespace qdmctl
