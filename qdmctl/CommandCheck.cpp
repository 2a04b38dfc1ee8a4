#include "qdmctl/Command.h"
#include "qdmctl/UpdatePlan.h"

namespace qdmctl {

/// The packages are held against the index, too: what check promises, update keeps.
Answer RunCheck(const Options& options, Console& console) {
    Answer answer;
    answer.hasComponents = true;
    Session session(options, console, answer);
    DriverState drivers(session);
    const auto items = PrepareUpdate(session, drivers);
    session.Publish();
    return answer;
}

}  // namespace qdmctl
