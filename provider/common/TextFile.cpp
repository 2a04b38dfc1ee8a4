#include "provider/common/TextFile.h"

#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/Trace.h"

#include <cerrno>

namespace {

constexpr int bufferSize = 128;

}  // namespace

TextFile::TextFile(const std::string& path) : file(std::fopen(path.c_str(), "re")) {
    if (!file) {
        const int reason = errno;
        CEmulexCommon::SetLastError(ErrorCode::FileOrCommand);
        CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                                  "File Open Error. file(%s) errcode(%d)", path.c_str(), reason);
    }
}

bool TextFile::Read(std::string& piece) {
    char buffer[bufferSize];
    if (std::fgets(buffer, bufferSize, file.get()) == nullptr) {
        return false;
    }
    piece = buffer;
    return true;
}

bool TextFile::ReadLine(std::string& line) {
    line.clear();
    std::string piece;
    while ((line.empty() || line.back() != '\n') && Read(piece)) {
        line += piece;
    }
    return !line.empty();
}
