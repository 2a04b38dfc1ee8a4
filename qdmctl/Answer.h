#pragma once

#include "qdmctl/AnswerChecks.h"
#include "qdmctl/AnswerInfo.h"
#include "qdmctl/AnswerReport.h"
#include "qdmctl/AnswerRestore.h"
#include "qdmctl/Error.h"
#include "qdmctl/PendingView.h"
#include "qdmctl/RepairView.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qdmctl {

/// How an offered version stands to the installed one.
enum class Verdict {
    Newer,  ///< the offered version is newer
    Same,
    Older,
    Unreadable,    ///< the installed version could not be read
    Incomparable,  ///< the installed version has a form that cannot be compared
    None           ///< the repository offers nothing
};

enum class Outcome {
    Updated,
    Pending,    ///< installed, takes effect later
    Skipped,    ///< left as it is, for a reason that the user can overrule or should know
    NotNeeded,  ///< nothing to do
    Failed,
    NotAttempted  ///< to be done, but not begun
};

/// "abnormal" and the empty text both stand for a version that could not be read.
struct Versions {
    std::string firmware;
    std::string bootBios;
    std::string driver;
    std::string utility;
};

/// One kind of module of one port. After a check the outcome tells what an update without flags
/// would do: NotAttempted for what it would install, else NotNeeded or Skipped; see PlannedOutcome.
struct Component {
    std::string kind;       ///< "util", "firm" or "driver"
    std::string installed;  ///< "abnormal" or empty: unreadable
    std::string offered;    ///< empty: nothing is offered
    Verdict verdict = Verdict::None;
    std::optional<Outcome> outcome;
    std::string reason;
};

struct PciLocation {
    unsigned bus = 0;
    unsigned device = 0;
    unsigned function = 0;
};

struct Port {
    std::string deviceId;
    std::string vendorClass;
    std::string modelKey;          ///< the key by which packages are matched
    std::string reportedModelKey;  ///< the provider's own; written only where it differs
    std::string wwpn;              ///< 16 hexadecimal digits; empty: unknown
    std::optional<PciLocation> pci;
    Versions versions;
    std::vector<Component> components;
};

/// How a run ended.
enum class Result { Ok, Nothing, Partial, Failed };

struct Answer {
    std::string schema;  ///< for example "qdm.list/1"
    Result result = Result::Ok;
    int exitCode = 0;
    std::vector<Port> ports;
    std::vector<Error> errors;
    bool hasComponents = false;  ///< the ports' components are part of the answer
    std::optional<std::vector<PendingView>> pending;  ///< updates that wait for a reboot
    std::optional<RepairView> repair;
    std::optional<PortInfo> info;  ///< of the one port
    std::optional<WrittenReport> report;
    std::optional<Restored> restored;
    std::optional<std::vector<Check>> checks;
};

struct Conclusion {
    Result result = Result::Ok;
    int exitCode = 0;
};

/// Result and exit code that follow from ports and errors alone.
///
/// A port has failed when an error names it or one of its components has failed. An error that
/// names no port of the answer ends the run: the result is Failed, or Partial where something has
/// been updated all the same. Without errors the result is Nothing when the answer has components
/// and all of them are skipped or not needed, or is about pending updates or a repair and there is
/// none.
///
/// An answer with a failed check is Failed, exit code 1.
///
/// Exit codes: 0 done or nothing to do, 1 failed, 2 usage, 3 no such device or no
/// adapter, 4 some ports failed, 7 busy, 8 package or index damaged or unsuitable, 9 not root. A
/// failure with several errors has their common code, or 1.
[[nodiscard]] Conclusion ResultOf(const Answer& answer);
/// Fills schema, result and exit code.
void Conclude(Answer& answer, const std::string& schema);

/// What an update without flags does about a component, and why.
struct Plan {
    Outcome outcome = Outcome::NotNeeded;
    std::string reason;
};
[[nodiscard]] Plan PlannedOutcome(Verdict verdict);

/// The component's outcome; where none has been set, the planned one.
[[nodiscard]] Outcome OutcomeOf(const Component& component);

/// True for "abnormal" and for the empty text.
[[nodiscard]] bool IsUnreadable(const std::string& version);

// The names used in answers: "incomparable", "not-needed", "partial".
[[nodiscard]] std::string_view NameOf(Verdict verdict);
[[nodiscard]] std::string_view NameOf(Outcome outcome);
[[nodiscard]] std::string_view NameOf(Result result);

}  // namespace qdmctl
