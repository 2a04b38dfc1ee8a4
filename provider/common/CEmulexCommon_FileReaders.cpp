#include "host/CStringUtil.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/KeyValueLine.h"
#include "provider/common/TextFile.h"
#include "provider/common/TraceScope.h"

#include <optional>
#include <vector>

namespace {

constexpr const char* alternativeSeparator = "|";

struct Search {
    std::vector<std::string> keys;
    std::string separator;
};

// Reads on to the (index + 1)-th line that holds one of the texts.
bool SkipTo(TextFile& file, const std::vector<std::string>& texts, unsigned int index) {
    while (const auto line = file.NextInBlanks()) {
        if (KeyValueLine::Find(*line, texts) && index-- == 0) {
            return true;
        }
    }
    return false;
}

// The first value behind a key, after `index` lines that hold one. Lines with a key and without a
// value count as long as lines are skipped.
std::pair<std::string, std::string> FirstValue(TextFile& file, const Search& search,
                                               unsigned int index) {
    while (const auto line = file.NextInBlanks()) {
        const auto match = KeyValueLine::Find(*line, search.keys);
        if (!match) {
            continue;
        }
        if (index != 0) {
            --index;
            continue;
        }
        const auto value = KeyValueLine::Value(*line, *match, search.separator);
        if (value && !match->key->empty()) {
            return {*match->key, std::string(*value)};
        }
    }
    return {};
}

}  // namespace

int CEmulexCommon::GetKeyValueFromFile_(std::string file, std::string keys, std::string separator,
                                        std::pair<std::string, std::string>& result,
                                        unsigned int index) {
    TraceScope trace("CEmulexCommon::GetKeyValueFromFile(" + file + "," + keys + ") [START]",
                     "CEmulexCommon::GetKeyValueFromFile_() [,] [END]");
    result = {};
    TextFile text(file);
    if (!text) {
        return 0;
    }
    result = FirstValue(text, {CStringUtil::Split(keys, alternativeSeparator), separator}, index);
    trace.SetExit("CEmulexCommon::GetKeyValueFromFile_() [" + result.first + "," + result.second +
                  "] [END]");
    return 1;
}

int CEmulexCommon::GetTagKeyValueFromFile_(std::string file, std::string tags, std::string keys,
                                           std::string separator,
                                           std::pair<std::string, std::string>& result,
                                           unsigned int index) {
    TraceScope trace("GetTagKeyValueFromFile(" + file + "," + tags + "," + keys + ")",
                     "CEmulexCommon::GetTagKeyValueFromFile_() (;) [END]");
    result = {};
    TextFile text(file);
    if (!text) {
        return 0;
    }
    if (SkipTo(text, CStringUtil::Split(tags, alternativeSeparator), index)) {
        // Not bounded by the next tag: a key that this block lacks is taken from a later one.
        result = FirstValue(text, {CStringUtil::Split(keys, alternativeSeparator), separator}, 0);
    }
    trace.SetExit("CEmulexCommon::GetTagKeyValueFromFile_() (" + result.first + ";" +
                  result.second + ") [END]");
    return 1;
}
