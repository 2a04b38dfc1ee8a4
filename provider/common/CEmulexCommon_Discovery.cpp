#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CStringUtil.h"
#include "host/PrivateProfile.h"
#include "provider/common/AdapterListing.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/ErrorCode.h"
#include "provider/common/Trace.h"
#include "provider/common/TraceScope.h"
#include "provider/common/WorkArea.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using Adapter = AdapterTable::Record;

struct Location {
    int bus, device, function;
};

constexpr const char* fcList = "FcVCFac.ini";
constexpr const char* cnaList = "CnaVCFac.ini";
constexpr const char* section = "SuportDevice";
constexpr unsigned int iniValueSize = 256;
// Each entry costs readings of the file: a damaged count must not keep the caller for hours. More
// devices than this no vendor can have.
constexpr int mostEntries = 0xffff;

constexpr std::size_t vendorPrefixLength = 4;  // "VEN_"
constexpr std::size_t devicePartLength = 7;    // "DEV_" and all digits but the last

// Supported-device lists.

std::string IniText(const std::string& path, const std::string& key) {
    char value[iniValueSize] = "";
    GetPrivateProfileStringA(section, key.c_str(), "", value, iniValueSize, path.c_str());
    return value;
}

// What is left of the text behind its first characters.
std::string Behind(const std::string& text, std::size_t length) {
    return text.substr(std::min(length, text.size()));
}

// Calls take(vendor value, number of the entry) for every entry of an accepted vendor.
template <typename Take>
void ForEachEntry(const std::string& path, const std::vector<std::string>& vendors, Take take) {
    const int count = GetPrivateProfileIntA(section, "SuportDeviceNum", 0, path.c_str());
    for (long i = 1; i <= std::min(count, mostEntries); ++i) {
        const std::string number = CStringUtil::NumberToTString(i);
        const std::string vendor = IniText(path, "Vendor" + number);
        const std::string id = Behind(vendor, vendorPrefixLength);
        if (std::find(vendors.begin(), vendors.end(), id) != vendors.end()) {
            take(vendor, number);
        }
    }
}

std::string IniPath(const char* name) {
    return CFileUtility::GetInstallPath(0) + "/" + name;
}

const std::vector<std::string>& FcVendors() {
    static const std::vector<std::string> vendors = {"10DF"};
    return vendors;
}

const std::vector<std::string>& CnaVendors() {
    static const std::vector<std::string> vendors = {"10DF", "19A2"};
    return vendors;
}

void AppendFcIds(std::list<std::string>& ids) {
    const std::string path = IniPath(fcList);
    ForEachEntry(path, FcVendors(), [&](const std::string& vendor, const std::string& number) {
        ids.push_back("PCI\\" + vendor + "&" + IniText(path, "Device" + number));
    });
}

// Of the functions of a converged adapter only the first is listed: its device ID ends in 0.
void AppendCnaIds(std::list<std::string>& ids) {
    const std::string path = IniPath(cnaList);
    ForEachEntry(path, CnaVendors(), [&](const std::string& vendor, const std::string& number) {
        const std::string device = IniText(path, "Device" + number);
        if (Behind(device, devicePartLength) == "0") {
            ids.push_back("PCI\\" + vendor + "&" + device);
        }
    });
}

// Adapter list.

// What the list operation does, for callers that need no record of their own.
std::shared_ptr<AdapterListing> ListAdapters(bool asked) {
    TraceScope trace("CEmulexCommon::GetHBAInfoList");
    trace.SetExit("CEmulexCommon::GetHBAInfoList(NG) [END]");
    if (!asked) {
        CEmulexCommon::SetLastError(ErrorCode::NullArgument);
        return nullptr;
    }
    std::shared_ptr<AdapterListing> listing = AdapterListing::Read(WorkArea::AdapterList());
    if (listing && !listing->table.Has(0)) {
        CEmulexCommon::SetLastError(ErrorCode::NoAdapter);
        listing.reset();
    }
    if (listing) {
        trace.SetExit("CEmulexCommon::GetHBAInfoList(OK) [END]");
    }
    return listing;
}

// For a trace: a text that ends where the view does.
const char* Text(std::string_view value) {
    return value.empty() ? "" : value.data();
}

bool IsAt(const AdapterTable& adapters, std::size_t index, const std::string& bus,
          const std::string& function) {
    const std::string_view recordBus = adapters.Value(index, AdapterTable::Bus);
    const std::string_view recordFunction = adapters.Value(index, AdapterTable::Function);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::GetHBAInfo() EMULEX_CMN_HBAKEY_PCIBUSNUM[%s] bus[%s] "
                              "EMULEX_CMN_HBAKEY_PCIFUNC[%s] func[%s]",
                              Text(recordBus), bus.c_str(), Text(recordFunction), function.c_str());
    return recordBus == bus && recordFunction == function;
}

std::optional<Location> Locate(const std::string& deviceId) {
    Location at = {};
    if (!CCommon_Information::GetPCIInfo(deviceId, &at.bus, &at.device, &at.function,
                                         Trace::File)) {
        CEmulexCommon::SetLastError(ErrorCode::PciLocationUnknown);
        return std::nullopt;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CEmulexCommon::GetHBAInfo() PCIinfo deviceID[%s] bus[%d] dev[%d] "
                              "func[%d]",
                              deviceId.c_str(), at.bus, at.device, at.function);
    return at;
}

bool FindAdapter(AdapterListing& listing, const Location& location, Adapter& adapter) {
    const std::optional<int> perDevice = listing.FunctionsPerDevice(location.bus);
    if (!perDevice) {
        return false;
    }
    const long number = static_cast<long>(*perDevice) * location.device + location.function;
    const std::string bus = CStringUtil::NumberToTString(location.bus);
    const std::string function = CStringUtil::NumberToTString(number);
    AdapterTable& adapters = listing.table;
    for (std::size_t index = 0; adapters.Has(index); ++index) {
        if (IsAt(adapters, index, bus, function)) {
            adapter = adapters.At(index);
            return true;
        }
    }
    CEmulexCommon::SetLastError(ErrorCode::NoMatchingAdapter);
    return false;
}

}  // namespace

bool CEmulexCommon::GetVenDevIdList(std::string iniName, std::list<std::string>* cnaIds,
                                    std::list<std::string>*, std::list<std::string>*,
                                    std::list<std::string>* fcIds) {
    TraceScope trace("CEmulexCommon::GetVenDevIdList");
    const bool cna = iniName.find(cnaList) != std::string::npos;
    if (!cna && iniName.find(fcList) == std::string::npos) {
        return true;
    }
    std::list<std::string>* ids = cna ? cnaIds : fcIds;
    if (ids == nullptr) {
        SetLastError(ErrorCode::NullArgument);
        return false;
    }
    if (cna) {
        AppendCnaIds(*ids);
    } else {
        AppendFcIds(*ids);
    }
    return true;
}

bool CEmulexCommon::GetVenderIdList(std::list<std::string>* ids) {
    TraceScope trace("CEmulexCommon::GetVenderIdList");
    if (ids == nullptr) {
        SetLastError(ErrorCode::NullArgument);
        return true;  // as ever: the result of this operation tells nothing
    }
    ForEachEntry(IniPath(cnaList), CnaVendors(), [&](const std::string& vendor, const auto&) {
        ids->push_back(Behind(vendor, vendorPrefixLength));
    });
    return true;
}

bool CEmulexCommon::GetHBAInfoList(std::list<std::map<std::string, std::string>>* adapters) {
    const std::shared_ptr<AdapterListing> listing = ListAdapters(adapters != nullptr);
    if (adapters == nullptr) {
        return false;
    }
    adapters->clear();
    for (std::size_t index = 0; listing && listing->table.Has(index); ++index) {
        adapters->push_back(listing->table.At(index));
    }
    return listing != nullptr;
}

bool CEmulexCommon::GetHBAInfo(std::string deviceId, std::map<std::string, std::string>* adapter) {
    TraceScope trace("CEmulexCommon::GetHBAInfo");
    if (adapter == nullptr) {
        SetLastError(ErrorCode::NullArgument);
        trace.SetExit("CEmulexCommon::GetHBAInfo() param error [END]");
        return false;
    }
    adapter->clear();
    const std::shared_ptr<AdapterListing> listing = ListAdapters(true);
    if (!listing) {
        trace.SetExit("CEmulexCommon::GetHBAInfo() GetHBAInfoList result error [END]");
        return false;
    }
    const std::optional<Location> location = Locate(deviceId);
    if (!location) {
        trace.SetExit(
            "CEmulexCommon::GetHBAInfo() CCommon_Information::GetPCIInfo result error [END]");
        return false;
    }
    const bool found = FindAdapter(*listing, *location, *adapter);
    trace.SetExit(found ? "CEmulexCommon::GetHBAInfo(OK) [END]"
                        : "CEmulexCommon::GetHBAInfo(NG) [END]");
    return found;
}
