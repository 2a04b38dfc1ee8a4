#include "host/DllCommon/MessageTable.h"

namespace MessageTable {

const std::vector<Entry>& Entries() {
    static const std::vector<Entry> entries = {
        {"MSGID_EMULEXCOMMON_0001_F", 0}, {"MSGID_EMULEX_FC_0001_F", 2},
        {"MSGID_EMULEX_FC_0004_F", 2},    {"MSGID_EMULEX_FC_0005_F", 2},
        {"MSGID_EMULEX_FC_0008_F", 3},    {"MSGID_EMULEX_FC_0009_F", 3},
        {"MSGID_EMULEX_FC_0010_F", 2},    {"MSGID_EMULEX_FC_0012_F", 2},
        {"MSGID_EMULEX_FC_0013_F", 5},    {"MSGID_EMULEX_FC_0016_F", 2},
        {"MSGID_EMULEX_FC_0018_F", 5},    {"MSGID_EMULEX_FC_0019_F", 1},
    };
    return entries;
}

std::optional<std::size_t> InsertsOf(const std::string& id) {
    for (const Entry& entry : Entries()) {
        if (id == entry.id) {
            return entry.inserts;
        }
    }
    return std::nullopt;
}

}  // namespace MessageTable
