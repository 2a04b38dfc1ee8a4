#include "host/CStringUtil.h"
#include "host/PrivateProfile.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/modules/CEMULEX_OCM_Utility.h"
#include "provider/modules/OperatingVersion.h"
#include "tests/fuzz/Fuzz.h"

namespace {

using Record = std::map<std::string, std::string>;
using Pair = std::pair<std::string, std::string>;

constexpr const char* deviceId = "0000:03:00.1-10df-e200";

/// The record as the reader of single values tells it.
Record RecordAt(const std::string& file, unsigned index) {
    Record record;
    for (const char* key : {"Port WWN|Permanent MAC", "Port Number", "PCI Bus Number",
                            "PCI Function", "Port Type", "Serial No."}) {
        Pair pair;
        CEmulexCommon::GetKeyValueFromFile_(file, key, ":", pair, index);
        if (pair.first.empty()) {
            break;
        }
        record[pair.first] = pair.second;
    }
    return record;
}

void RequireFourSegments(const std::string& version) {
    Fuzz::Require(
        version == OperatingVersion::Abnormal || CStringUtil::CheckVersion4SegFormat(version),
        "four segments, or abnormal");
}

int Sign(int order) {
    return (order > 0) - (order < 0);
}

}  // namespace

namespace Fuzz {

void AdapterListing(const std::string& text) {
    const std::string file = Put("tmp/EMULEX/cache/Listhbas.txt", text);
    std::list<Record> records;
    const bool any = CEmulexCommon::GetHBAInfoList(&records);
    Require(any == !records.empty(), "the result tells whether there is a record");
    unsigned index = 0;
    for (const Record& record : records) {
        Require(record == RecordAt(file, index++), "list and single values are the same");
    }
    Require(RecordAt(file, index).empty(), "the list is complete");
    Record adapter;
    const bool found = CEmulexCommon::GetHBAInfo(deviceId, &adapter);
    Require(!found || adapter["PCI Bus Number"] == "3", "the adapter is the one asked for");
}

void AdapterAttribute(const std::string& text) {
    Put("tmp/EMULEX/cache/HbaAttrib10-00.txt", text);
    for (const char* key : {"FW Version", "Driver Version", "Boot Version"}) {
        std::string value, trimmed;
        const int result = CEmulexCommon::GetHbaAttribData("10:00", key, value);
        CStringUtil::strTrimAll(value, trimmed);
        Require(value == trimmed && (result == 0 || value.empty()), "a value, trimmed, or none");
        RequireFourSegments(OperatingVersion::FourSegments("", value));
    }
}

void KeyValueReaders(const std::string& text) {
    const std::string file = Put("values.txt", text);
    for (unsigned index = 0; index < 3; ++index) {
        Pair plain, tagged;
        CEmulexCommon::GetKeyValueFromFile_(file, "Port WWN|Permanent MAC", ":", plain, index);
        CEmulexCommon::GetTagKeyValueFromFile_(file, "Adapter|PCI", "Port|Serial", "=>", tagged,
                                               index);
        Require(plain.first.empty() == plain.second.empty() &&
                    tagged.first.empty() == tagged.second.empty(),
                "key and value, or neither");
    }
}

void UtilityVersion(const std::string& text) {
    Put("tmp/EMULEX/cache/HbaVersion.txt", text);
    RequireFourSegments(CEMULEX_OCM_Utility(deviceId).GetOperatingVersion());
}

void Versions(const std::string& text) {
    const std::vector<std::string> versions = Parts(text);
    const std::string &first = versions.front(), &second = versions.back();
    for (const auto compare : {CEmulexCommon::CheckVendorVersionFCFirmware,
                               CEmulexCommon::CheckVendorVersion4SegNormal}) {
        Require(Sign(compare(first, second)) == -Sign(compare(second, first)), "antisymmetric");
    }
    const std::string clean = CEmulexCommon::FormatVersion4SegCleanDust(first);
    Require(CEmulexCommon::FormatVersion4SegCleanDust(clean) == clean, "clean stays clean");
}

void MessageFiles(const std::string& text) {
    const std::vector<std::string> parts = Parts(text);
    const std::string definition = Put("message.txt", parts.front());
    const int done = CEmulexCommon::CheckUpdateResult_(Put("result.txt", parts.back()), definition);
    Require(done == 0 || parts.front().find("SuccessMessage=") != std::string::npos,
            "no success without a definition of it");
}

void UtilityConfiguration(const std::string& text) {
    const std::vector<std::string> parts = Parts(text);
    Put("emulexDiscConfig", parts.front());
    Put("emulexRMConfig", parts.back());
    Put("tmp/EMULEX/temp/rpm_grep_result.txt", "1\n");
    CEMULEX_OCM_Utility(deviceId).OCMInstallCheck();
}

void DeviceLists(const std::string& text) {
    // Each entry is looked up in the file by itself, so that a great number takes seconds.
    constexpr int mostEntries = 500;
    const std::string list = Put("FcVCFac.ini", text);
    if (GetPrivateProfileIntA("SuportDevice", "SuportDeviceNum", 0, list.c_str()) > mostEntries) {
        return;
    }
    std::list<std::string> cna, fc, vendors;
    CEmulexCommon::GetVenDevIdList(list, &cna, nullptr, nullptr, &fc);
    CEmulexCommon::GetVenDevIdList(Put("CnaVCFac.ini", text), &cna, nullptr, nullptr, &fc);
    CEmulexCommon::GetVenderIdList(&vendors);
    Require(vendors.size() >= cna.size(), "no converged adapter of an unknown vendor");
}

}  // namespace Fuzz
