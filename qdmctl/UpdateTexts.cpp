#include "qdmctl/UpdateTexts.h"

#include "qdmctl/ModuleKinds.h"

namespace qdmctl {
namespace {

constexpr char LookWithCheck[] =
    "the offered version is there all the same; look with qdmctl check whether anything is left "
    "to do";

constexpr char AskTheUtility[] =
    "run \"hbacmd version\" by hand; when it answers with a version, repeat the update, else run "
    "qdmctl repair";

constexpr UpdateTexts Utility = {
    "the utility now reports ",
    "the utility's version cannot be read now",
    "the utility's scripts",
    AskTheUtility,
    AskTheUtility,
    LookWithCheck,
    "the utility that was there is still at work; repeat the update, with --trace FILE to see "
    "what the module's scripts say; if it fails again, ask the maker's support for another module",
    "the module's scripts told success and the old version answers; see that the index gives the "
    "version that the module brings, then repeat the update",
};

constexpr char HalfAnImage[] =
    "do not power off or reboot: the adapter may hold half an image; look with qdmctl list until "
    "it answers with a version, then repeat the update; if it does not, ask the maker's support";

constexpr UpdateTexts Firmware = {
    "the port now reports ",
    "the port's version cannot be read now",
    "the adapter tool",
    HalfAnImage,
    HalfAnImage,
    LookWithCheck,
    "do not power off or reboot before an update has succeeded: the adapter may hold half an "
    "image; repeat the update",
    "some adapters run new firmware only after a reset or a reboot: if qdmctl list shows the old "
    "version after that, too, repeat the update",
};

constexpr char DriverInUse[] =
    "the driver in use works on; run qdmctl doctor, which tells whether the next boot would load "
    "another one, then repeat the update";

constexpr UpdateTexts Driver = {
    "the driver in use is ",
    "the version of the driver in use cannot be read now",
    "rpm",
    DriverInUse,
    DriverInUse,
    DriverInUse,
    "the driver in use works on; repeat the update with --trace FILE to see what rpm says",
    DriverInUse,
};

}  // namespace

const UpdateTexts& TextsOf(const std::string& kind) {
    if (kind == UtilityKind) {
        return Utility;
    }
    return kind == DriverKind ? Driver : Firmware;
}

}  // namespace qdmctl
