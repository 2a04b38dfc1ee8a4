#include "provider/common/Failure.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/modules/CEMULEX_Driver.h"
#include "provider/modules/FixedPaths.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

/// The preference for one kernel module, in a file of its own.
struct Override {
    bool selected;
    const char* file;
    const char* marker;
    const char* preferred;  ///< the module as the packages install it
};

bool IsMarked(const std::string& path, const std::string& marker) {
    LineFile text(path);
    while (const auto line = text.Next()) {
        // Anywhere in the line: an administrator's comment on it keeps the file as it is.
        if (line->find(marker) != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool Append(const std::string& path, const std::string& text) {
    std::FILE* const file = std::fopen(path.c_str(), "ae");
    if (file == nullptr) {
        return false;
    }
    const bool written = std::fputs(text.c_str(), file) >= 0;
    return std::fclose(file) == 0 && written;
}

bool Ensure(const Override& module) {
    const std::string path = FixedPaths::DepmodFolder() + "/" + module.file;
    const std::string marker = module.marker;
    if (IsMarked(path, marker)) {
        return true;
    }
    // The line feed in front is relied on: it ends a last line that has none.
    const std::string text = "\n" + marker + " * weak-updates/updates/" + module.preferred + "\n" +
                             marker + " * weak-updates/" + module.preferred + "\n";
    return Append(path, text) ||
           Fail(ErrorCode::FileOrCommand, "Failed to open file(" + path + ").");
}

bool RefreshModuleMap() {
    const char* command = "depmod -a";
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "Execute depmod command by _tsystem method [%s]", command);
    const int status = ::system(command);
    if (status != 0) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "depmod -a error.(%d)", status);
        return false;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "depmod -a ok.");
    return true;
}

}  // namespace

bool CEMULEX_Driver::DepmodExecute(bool be2net, bool lpfc, bool be2iscsi) {
    const TraceScope trace("CEMULEX_Driver::DepmodExecute");
    const Override overrides[] = {{be2net, "elxbe2net.conf", "override be2net", "be2net"},
                                  {lpfc, "elxlpfc.conf", "override lpfc",
                                   "elx-lpfc"},  // only this one bears the maker's mark
                                  {be2iscsi, "elxbe2iscsi.conf", "override be2iscsi", "be2iscsi"}};
    bool done = true;
    for (const Override& module : overrides) {
        if (module.selected && !Ensure(module)) {
            done = false;
        }
    }
    // Also after a file that could not be written: the modules themselves have changed.
    if ((be2net || lpfc || be2iscsi) && !RefreshModuleMap()) {
        done = false;
    }
    return done;
}
