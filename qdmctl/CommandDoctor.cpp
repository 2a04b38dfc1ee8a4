#include "qdmctl/Command.h"
#include "qdmctl/Doctor.h"
#include "qdmctl/Session.h"

#include <algorithm>

namespace qdmctl {
namespace {

/// In the order in which they are told.
constexpr const char* names[] = {"rights",       "install-root", "space",      "rpm",
                                 "depmod",       "modinfo",      "lspci",      "utility-package",
                                 "result-files", "repair",       "other-run",  "provider",
                                 "adapter-tool", "adapters",     "lspci-form", "utility-config",
                                 "driver",       "pending"};

bool Has(const Checks& checks, const std::string& name) {
    return std::any_of(checks.begin(), checks.end(),
                       [&](const Check& check) { return check.name == name; });
}

/// What could not be looked at is told, too, and never as well.
void AddMissing(Checks& checks) {
    for (const char* name : names) {
        if (!Has(checks, name)) {
            AddWarning(checks, name, "not looked at, because of another finding",
                       "see to that one, then run qdmctl doctor again");
        }
    }
}

void Sort(Checks& checks) {
    const auto place = [](const Check& check) {
        return std::find(std::begin(names), std::end(names), check.name) - std::begin(names);
    };
    std::stable_sort(checks.begin(), checks.end(), [&](const Check& one, const Check& other) {
        return place(one) < place(other);
    });
}

/// What keeps a run from beginning at all.
void TellOpening(Checks& checks, const std::vector<Error>& errors) {
    for (const Error& error : errors) {
        if (error.id == ErrorId::Busy) {
            AddWarning(checks, "other-run", error.message, error.hint);
        } else if (error.id == ErrorId::DiskFull) {
            AddFailure(checks, "space", error.message, error.hint);
        } else if (error.id != ErrorId::Interrupted) {
            AddFailure(checks, "install-root", error.message, error.hint);
        }
    }
}

bool IsSound(const Checks& checks) {
    return std::none_of(checks.begin(), checks.end(), [](const Check& check) {
        return check.state == CheckState::Failure &&
               (check.name == "rights" || check.name == "install-root");
    });
}

}  // namespace

/// Goes on as far as it can whatever it finds, so its own result is that of its checks: exit code 1
/// also where root's rights are missing, for what could not be looked at is not known to be well.
Answer RunDoctor(const Options& options, Console& console) {
    Answer answer, seen;
    Checks checks;
    Session session(options, console, seen);
    CheckServer(checks, session.Root());
    if (IsSound(checks)) {
        CheckLeftovers(checks, session.Root());
        if (session.OpenWorkArea()) {
            AddOk(checks, "other-run", "none changes the server");
            CheckState(checks, session.Root());
            CheckAdapters(checks, session);
        } else {
            TellOpening(checks, seen.errors);
        }
    }
    std::copy_if(seen.errors.begin(), seen.errors.end(), std::back_inserter(answer.errors),
                 [](const Error& error) { return error.id == ErrorId::Interrupted; });
    AddMissing(checks);
    Sort(checks);
    answer.checks = std::move(checks);
    return answer;
}

}  // namespace qdmctl
