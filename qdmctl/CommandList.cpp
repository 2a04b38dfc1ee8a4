#include "qdmctl/Command.h"
#include "qdmctl/Session.h"

namespace qdmctl {

Answer RunList(const Options& options, Console& console) {
    Answer answer;
    Session session(options, console, answer);
    if (session.Open() && session.Link()) {
        session.ReadVersions(session.AllPorts());
    }
    session.Publish();
    return answer;
}

}  // namespace qdmctl
