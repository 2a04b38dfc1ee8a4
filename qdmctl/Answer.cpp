#include "qdmctl/Answer.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qdmctl {
namespace {

constexpr int exitFailed = 1;
constexpr int exitSomeFailed = 4;

constexpr std::string_view verdictNames[] = {"newer",      "same",         "older",
                                             "unreadable", "incomparable", "none"};
constexpr std::string_view outcomeNames[] = {"updated",    "pending", "skipped",
                                             "not-needed", "failed",  "not-attempted"};
constexpr std::string_view resultNames[] = {"ok", "nothing", "partial", "failed"};

template <class Table, class Id>
const auto& At(const Table& table, Id id) {
    return table[static_cast<std::size_t>(id)];
}

template <class Condition>
bool AnyComponent(const std::vector<Port>& ports, Condition holds) {
    return std::any_of(ports.begin(), ports.end(), [&](const Port& port) {
        return std::any_of(port.components.begin(), port.components.end(), holds);
    });
}

bool HasFailed(const Component& component) {
    return component.outcome == Outcome::Failed;
}

bool HasTakenPlace(const Component& component) {
    return component.outcome == Outcome::Updated || component.outcome == Outcome::Pending;
}

bool IsNothing(Outcome outcome) {
    return outcome == Outcome::Skipped || outcome == Outcome::NotNeeded;
}

/// Whether an answer without errors tells that there was nothing to do.
bool IsNothing(const Answer& answer) {
    if (answer.hasComponents) {
        return !AnyComponent(answer.ports, [](const Component& component) {
            return !IsNothing(OutcomeOf(component));
        });
    }
    if (answer.repair) {
        return IsNothing(answer.repair->outcome);
    }
    return answer.pending && answer.pending->empty() && answer.ports.empty();
}

bool Names(const Error& error, const Port& port) {
    return !error.deviceId.empty() && error.deviceId == port.deviceId;
}

bool HasFailed(const Port& port, const std::vector<Error>& errors) {
    return std::any_of(port.components.begin(), port.components.end(),
                       [](const Component& component) { return HasFailed(component); }) ||
           std::any_of(errors.begin(), errors.end(),
                       [&](const Error& error) { return Names(error, port); });
}

/// Errors that end the run: those that name no port of the answer.
std::vector<Error> ErrorsOfTheRun(const Answer& answer) {
    std::vector<Error> found;
    std::copy_if(answer.errors.begin(), answer.errors.end(), std::back_inserter(found),
                 [&](const Error& error) {
                     return std::none_of(answer.ports.begin(), answer.ports.end(),
                                         [&](const Port& port) { return Names(error, port); });
                 });
    return found;
}

bool HasFailedCheck(const Answer& answer) {
    return answer.checks &&
           std::any_of(answer.checks->begin(), answer.checks->end(),
                       [](const Check& check) { return check.state == CheckState::Failure; });
}

int CommonExitCode(const std::vector<Error>& errors) {
    if (errors.empty()) {
        return exitFailed;
    }
    const int first = ExitCodeOf(errors.front().id);
    const bool common = std::all_of(errors.begin(), errors.end(), [&](const Error& error) {
        return ExitCodeOf(error.id) == first;
    });
    return common ? first : exitFailed;
}

}  // namespace

Conclusion ResultOf(const Answer& answer) {
    if (HasFailedCheck(answer)) {
        return {Result::Failed, exitFailed};
    }
    const std::vector<Error> ofTheRun = ErrorsOfTheRun(answer);
    if (!ofTheRun.empty()) {
        if (AnyComponent(answer.ports, HasTakenPlace)) {
            return {Result::Partial, exitSomeFailed};
        }
        return {Result::Failed, CommonExitCode(ofTheRun)};
    }
    const auto failed =
        std::count_if(answer.ports.begin(), answer.ports.end(),
                      [&](const Port& port) { return HasFailed(port, answer.errors); });
    if (failed == 0) {
        return {IsNothing(answer) ? Result::Nothing : Result::Ok, 0};
    }
    if (failed < std::distance(answer.ports.begin(), answer.ports.end())) {
        return {Result::Partial, exitSomeFailed};
    }
    return {Result::Failed, CommonExitCode(answer.errors)};
}

void Conclude(Answer& answer, const std::string& schema) {
    answer.schema = schema;
    const Conclusion conclusion = ResultOf(answer);
    answer.result = conclusion.result;
    answer.exitCode = conclusion.exitCode;
}

Plan PlannedOutcome(Verdict verdict) {
    switch (verdict) {
        case Verdict::Newer:
            return {Outcome::NotAttempted, "an update would install it"};
        case Verdict::Same:
            return {Outcome::NotNeeded, "this version is installed"};
        case Verdict::Older:
            return {Outcome::Skipped, "older than the installed version (--allow-older)"};
        case Verdict::Unreadable:
            return {Outcome::Skipped,
                    "the installed version cannot be read (--force with --device)"};
        case Verdict::Incomparable:
            return {Outcome::Skipped, "the installed version cannot be compared with it"};
        case Verdict::None:
            break;
    }
    return {Outcome::NotNeeded, "no package in the repository"};
}

Outcome OutcomeOf(const Component& component) {
    return component.outcome.value_or(PlannedOutcome(component.verdict).outcome);
}

bool IsUnreadable(const std::string& version) {
    return version.empty() || version == "abnormal";
}

std::string_view NameOf(Verdict verdict) {
    return At(verdictNames, verdict);
}
std::string_view NameOf(Outcome outcome) {
    return At(outcomeNames, outcome);
}
std::string_view NameOf(Result result) {
    return At(resultNames, result);
}

}  // namespace qdmctl
