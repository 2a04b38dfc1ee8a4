#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <tuple>

namespace {

constexpr const char* capture =
    "Manageable HBA List\n\nPort WWN       : 10:00:00:00:c9:12:34:56\r\n"
    "Fabric Name    : 00\nPort Number    :\nPermanent MAC  : 00-11-22\n"
    "Port Number    : 1  \nSerial No.     : BT 1\t \n"
    "Port WWN       : 10:00:00:00:c9:12:34:57\nPort Number    : 2";

class FileReadersTest : public HostTest {
protected:
    const std::string file = host.Root() + "/text";
};

TEST_F(FileReadersTest, KeyValue) {
    const std::string halves = std::string(120, '.') + "Key : v" + "cut\nKey : two\n";
    const std::tuple<std::string, std::string, const char*, unsigned int, std::string> rows[] = {
        {capture, "Port WWN", ":", 1, "Port WWN,10:00:00:00:c9:12:34:57"},
        {capture, "Port WWN", ":", 2, ","},
        {capture, "Port WWN|Permanent MAC", ":", 1, "Permanent MAC,00-11-22"},
        {capture, "Permanent MAC|Port WWN", ":", 0, "Port WWN,10:00:00:00:c9:12:34:56"},
        {"MAC and WWN : 1", "WWN|MAC", ":", 0, "WWN,1"},
        {capture, "Port Number", ":", 0, "Port Number,1"},  // a line without a value is passed over
        {capture, "Port Number", ":", 1, "Port Number,1"},  // but counts when skipped
        {capture, "Port Number", ":", 2, "Port Number,2"},
        {capture, "Serial No.", ":", 0, "Serial No.,BT 1\t"},
        {capture, "Fabric Name", " : ", 0, "Fabric Name,00"},
        {capture, "Fabric Name", "=", 0, ","},
        {": Key = a : b", "Key", ":", 0, "Key,b"},
        {halves, "Key", ":", 0, "Key,v"},  // 127 characters are a line
        {"Key\n: 1\nKey", "Key", ":", 0, ","},
        {"Key : 1", "|Key", ":", 0, ","},  // no key, no value
        {"key : 1", "Key", ":", 0, ","},
        {"", "Key", ":", 0, ","},
    };
    for (const auto& [text, keys, separator, index, expected] : rows) {
        SCOPED_TRACE(keys + " " + std::to_string(index));
        Forget();
        host.Write(file, text);
        std::pair<std::string, std::string> pair = {"old", "old"};
        EXPECT_EQ(CEmulexCommon::GetKeyValueFromFile_(file, keys, separator, pair, index), 1);
        EXPECT_EQ(pair.first + "," + pair.second, expected);
        EXPECT_EQ(host.Frame(),
                  (Lines{"4 CEmulexCommon::GetKeyValueFromFile(" + file + "," + keys + ") [START]",
                         "4 CEmulexCommon::GetKeyValueFromFile_() [" + expected + "] [END]"}));
        EXPECT_EQ(LastError(), 0u);
    }
}

TEST_F(FileReadersTest, TagKeyValue) {
    const char* blocks =
        "[A] Model : on the tag line\nModel : first\n"
        "[B]\nModel\nSerial : 2\n"
        "[A]\nModel : third\nState : up\n";
    const std::tuple<const char*, std::string, const char*, unsigned int, std::string> rows[] = {
        {blocks, "[A]", "Model", 0, "Model;first"},
        {blocks, "[A]", "Model", 1, "Model;third"},
        {blocks, "[A]", "Model", 2, ";"},
        {blocks, "[B]|[A]", "Model", 1, "Model;third"},  // taken from a later block
        {blocks, "[B]", "State|Serial", 0, "Serial;2"},
        {blocks, "[B]", "Colour", 0, ";"},
        {"[A]", "[A]", "Model", 0, ";"},
        {"", "[A]", "Model", 0, ";"},
    };
    for (const auto& [text, tags, keys, index, expected] : rows) {
        SCOPED_TRACE(tags + " " + keys + " " + std::to_string(index));
        Forget();
        host.Write(file, text);
        std::pair<std::string, std::string> pair = {"old", "old"};
        EXPECT_EQ(CEmulexCommon::GetTagKeyValueFromFile_(file, tags, keys, ":", pair, index), 1);
        EXPECT_EQ(pair.first + ";" + pair.second, expected);
        EXPECT_EQ(host.Frame(),
                  (Lines{"4 GetTagKeyValueFromFile(" + file + "," + tags + "," + keys + ")",
                         "4 CEmulexCommon::GetTagKeyValueFromFile_() (" + expected + ") [END]"}));
    }
}

TEST_F(FileReadersTest, MissingFile) {
    for (const bool tagged : {false, true}) {
        Forget();
        std::pair<std::string, std::string> pair = {"old", "old"};
        EXPECT_EQ(tagged ? CEmulexCommon::GetTagKeyValueFromFile_(file, "Tag", "Key", ":", pair, 0)
                         : CEmulexCommon::GetKeyValueFromFile_(file, "Key", ":", pair, 0),
                  0);
        EXPECT_EQ(pair.first + pair.second, "");
        EXPECT_EQ(LastError(), 17u);
        EXPECT_EQ(host.Complaints(), Lines{"2 File Open Error. file(" + file + ") errcode(2)"});
        EXPECT_EQ(host.traces.back(), tagged
                                          ? "4 CEmulexCommon::GetTagKeyValueFromFile_() (;) [END]"
                                          : "4 CEmulexCommon::GetKeyValueFromFile_() [,] [END]");
    }
}

}  // namespace
