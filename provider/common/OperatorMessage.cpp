#include "provider/common/OperatorMessage.h"

#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/Trace.h"

namespace {

// The tool that is not installed has a message of its own, with advice; any other failure has none.
void SendToolMissing(const char* missingId, const char* otherId, const char* moduleWord,
                     const char* adapterKind) {
    if (CEmulexCommon::GetLastError() != ErrorCode::ToolNotInstalled) {
        OperatorMessage::WithLastError(otherId, moduleWord);
        return;
    }
    CTraceUtility::WriteTrace(Trace::File, missingId, moduleWord,
                              CEmulexCommon::GetLastErrorToChractor().c_str(), "Emulex",
                              adapterKind, OperatorMessage::UtilityName);
}

}  // namespace

namespace OperatorMessage {

void WithLastError(const char* messageId, const char* moduleWord) {
    CTraceUtility::WriteTrace(Trace::File, messageId, moduleWord,
                              CEmulexCommon::GetLastErrorToChractor().c_str());
}

void ToolMissing(const char* moduleWord, const char* adapterKind) {
    SendToolMissing("MSGID_EMULEX_FC_0013_F", "MSGID_EMULEX_FC_0001_F", moduleWord, adapterKind);
}

void ToolMissingForReport(const char* moduleWord, const char* adapterKind) {
    SendToolMissing("MSGID_EMULEX_FC_0018_F", "MSGID_EMULEX_FC_0016_F", moduleWord, adapterKind);
}

void Mismatch(const char* messageId, const char* moduleWord, const std::string& operating,
              const std::string& update) {
    CTraceUtility::WriteTrace(Trace::File, messageId, moduleWord, operating.c_str(),
                              update.c_str());
    CTraceUtility::WriteDebug(Trace::File, Trace::Error,
                              "Operating Version(%s) and Update Version(%s) are mismatched",
                              operating.c_str(), update.c_str());
}

}  // namespace OperatorMessage
