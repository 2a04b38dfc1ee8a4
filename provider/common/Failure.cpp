#include "provider/common/Failure.h"

#include "provider/common/CEmulexCommon.h"
#include "provider/common/OperatorMessage.h"
#include "provider/common/Trace.h"

namespace {

bool TraceFailure(const std::string& line) {
    if (!line.empty()) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Error, "%s", line.c_str());
    }
    return false;
}

}  // namespace

bool Fail(ErrorCode::Code code, const std::string& line) {
    CEmulexCommon::SetLastError(code);
    return TraceFailure(line);
}

bool FailAndTell(ErrorCode::Code code, const char* messageId, const char* moduleWord,
                 const std::string& line) {
    CEmulexCommon::SetLastError(code);
    OperatorMessage::WithLastError(messageId, moduleWord);
    return TraceFailure(line);
}
