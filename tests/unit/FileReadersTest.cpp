#include "provider/common/CEmulexCommon.h"
#include "tests/unit/HostDouble.h"

#include <tuple>

namespace {

using C = CEmulexCommon;

constexpr const char* capture =
    "Manageable HBA List\n\nPort WWN       : 10:00:00:00:c9:12:34:56\r\n"
    "Fabric Name    : 00\nPort Number    :\nPermanent MAC  : 00-11-22\n"
    "Port Number    : 1  \nSerial No.     : BT 1\t \n"
    "Port WWN       : 10:00:00:00:c9:12:34:57\nPort Number    : 2";
const std::string blocks =
    "[A] Model : on the tag line\nModel : first\n[B]\nModel\nSerial : 2\n"
    "[A]\nModel : third\nState : up\n";

class FileReadersTest : public HostTest {
protected:
    /// Reads by tag as well unless there is none; "RESULT key;value told".
    std::string Read(const std::string& tags, const std::string& keys, const char* separator,
                     unsigned index) {
        std::pair<std::string, std::string> pair = {"old", "old"};
        const int result =
            tags.empty() ? C::GetKeyValueFromFile_(file, keys, separator, pair, index)
                         : C::GetTagKeyValueFromFile_(file, tags, keys, separator, pair, index);
        const std::string at = "; 4 CEmulexCommon::Get", name = "KeyValueFromFile";
        const std::string frame = at.substr(2) + name + "(" + file + "," + keys + ") [START]" + at +
                                  name + "_() [" + pair.first + "," + pair.second + "] [END]";
        const std::string tagged = "4 GetTag" + name + "(" + file + "," + tags + "," + keys + ")" +
                                   at + "Tag" + name + "_() (" + pair.first + ";" + pair.second +
                                   ") [END]";
        EXPECT_EQ(host.Frame(), tags.empty() ? frame : tagged);
        return std::to_string(result) + " " + pair.first + ";" + pair.second + " " + Told();
    }
    const std::string file = host.Root() + "/text";
};

TEST_F(FileReadersTest, Values) {
    const std::string halves = std::string(120, '.') + "Key : v" + "cut\nKey : two\n";
    const std::tuple<std::string, std::string, std::string, const char*, unsigned, std::string>
        rows[] = {
            {capture, "", "Port WWN", ":", 1, "Port WWN;10:00:00:00:c9:12:34:57"},
            {capture, "", "Port WWN", ":", 2, ";"},
            {capture, "", "Port WWN|Permanent MAC", ":", 1, "Permanent MAC;00-11-22"},
            {capture, "", "Permanent MAC|Port WWN", ":", 0, "Port WWN;10:00:00:00:c9:12:34:56"},
            {"MAC and WWN : 1", "", "WWN|MAC", ":", 0, "WWN;1"},
            // A line without a value is passed over but counts when skipped.
            {capture, "", "Port Number", ":", 0, "Port Number;1"},
            {capture, "", "Port Number", ":", 1, "Port Number;1"},
            {capture, "", "Port Number", ":", 2, "Port Number;2"},
            {capture, "", "Serial No.", ":", 0, "Serial No.;BT 1\t"},
            {capture, "", "Fabric Name", " : ", 0, "Fabric Name;00"},
            {capture, "", "Fabric Name", "=", 0, ";"},
            {": Key = a : b", "", "Key", ":", 0, "Key;b"},
            {halves, "", "Key", ":", 0, "Key;v"},  // 127 characters are a line
            // Half a line at the end of what is read at once.
            {std::string(16384 - 7, '\n') + "Key : whole\n", "", "Key", ":", 0, "Key;whole"},
            {"Key\n: 1\nKey", "", "Key", ":", 0, ";"},
            {"Key : 1", "", "|Key", ":", 0, ";"},  // no key, no value
            {"key : 1", "", "Key", ":", 0, ";"},
            {"", "", "Key", ":", 0, ";"},
            {blocks, "[A]", "Model", ":", 0, "Model;first"},
            {blocks, "[A]", "Model", ":", 1, "Model;third"},
            {blocks, "[A]", "Model", ":", 2, ";"},
            {blocks, "[B]|[A]", "Model", ":", 1, "Model;third"},  // taken from a later block
            {blocks, "[B]", "State|Serial", ":", 0, "Serial;2"},
            {blocks, "[B]", "Colour", ":", 0, ";"},
            {"[A]", "[A]", "Model", ":", 0, ";"},
            {"", "[A]", "Model", ":", 0, ";"}};
    for (const auto& [text, tags, keys, separator, index, expected] : rows) {
        host.Write(file, text);
        EXPECT_EQ(Read(tags, keys, separator, index), "1 " + expected + " 0")
            << tags << keys << index;
    }
    std::remove(file.c_str());
    for (const char* tags : {"", "[A]"}) {
        EXPECT_EQ(Read(tags, "Key", ":", 0),
                  "0 ; 17: 2 File Open Error. file(" + file + ") errcode(2)");
    }
}

}  // namespace
