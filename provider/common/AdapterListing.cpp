#include "provider/common/AdapterListing.h"

#include "host/CStringUtil.h"
#include "provider/common/TextFile.h"
#include "provider/common/Trace.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace {

constexpr std::size_t valueColumn = 17;

// A letter of the key "PCI Bus Number" that hardly any other line holds.
constexpr std::string_view rareInBusKey = "B";

// Relied on: one digit of the number is looked at, so that a bus of two is never found.
constexpr int greatestDigit = 9;
constexpr int noBus = -1;

constexpr int functionsPerDevice = 2;
constexpr int pciFunctionsPerDevice = 8;

// The number in at most `width` characters at the value column; nothing where there is none.
std::optional<long> NumberInColumn(std::string_view line, std::size_t width) {
    std::string digits(line.substr(std::min(valueColumn, line.size()), width));
    CStringUtil::strTrimAll(digits, digits);
    if (!CStringUtil::IsDigitString(digits)) {
        return std::nullopt;
    }
    return CStringUtil::TStringToNumber(digits);
}

// Of a file that can be opened, or nothing.
std::optional<FileStamp> StampOf(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        return std::nullopt;
    }
    struct stat status = {};
    const bool known = ::fstat(descriptor, &status) == 0;
    ::close(descriptor);
    return known ? std::optional<FileStamp>(status) : std::nullopt;
}

}  // namespace

std::shared_ptr<AdapterListing> AdapterListing::Read(const std::string& path) {
    static std::shared_ptr<AdapterListing> kept;
    if (kept && StampOf(path) == kept->stamp) {
        return kept;
    }
    auto listing = std::make_shared<AdapterListing>(path);
    if (!listing->table) {
        return nullptr;
    }
    listing->stamp = listing->table.Stamp();
    kept.reset();
    if (listing->stamp && listing->stamp->IsSettled() && listing->table.ReadAll()) {
        kept = listing;
    }
    return listing;
}

std::optional<int> AdapterListing::FunctionsPerDevice(int bus) {
    TextFile file(path);
    if (!file) {
        return std::nullopt;
    }
    if (bus < 0 || bus > greatestDigit) {
        bus = noBus;
    }
    auto known = numberings.find(bus);
    if (known == numberings.end()) {
        known = numberings.emplace(bus, FindNumbering(file, bus)).first;
    }
    for (std::size_t line = 0; line < known->second.lines; ++line) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "[%s] is found",
                                  AdapterTable::BusKey.c_str());
    }
    return known->second.functionsPerDevice;
}

// The list shows a number of 8 or more on this bus only when it counts as PCI does.
AdapterListing::Numbering AdapterListing::FindNumbering(TextFile& file, int bus) {
    Numbering numbering = {0, functionsPerDevice};
    while (file.SkipTo(rareInBusKey)) {
        auto line = file.Next();
        if (!line || line->find(AdapterTable::BusKey) == std::string_view::npos) {
            continue;
        }
        ++numbering.lines;
        if (NumberInColumn(*line, 1) != bus || !(line = file.Next())) {
            continue;
        }
        if (line->find(AdapterTable::FunctionKey) != std::string_view::npos &&
            NumberInColumn(*line, 2).value_or(0) >= pciFunctionsPerDevice) {
            numbering.functionsPerDevice = pciFunctionsPerDevice;
            break;
        }
    }
    return numbering;
}
