#include "qdmctl/Reasons.h"

#include "qdmctl/ModuleKinds.h"

#include <algorithm>

namespace qdmctl {
namespace {

struct Reason {
    const char* trace;  ///< part of a line
    const char* words;
};

// The first row that any line holds decides, so what is closest to the cause stands first.

constexpr Reason listingReasons[] = {
    {"Timeout", "it did not answer in time"},
    {"dwRtnCode = [126]", "its file cannot be executed"},
    {"[ERROR]", "it answered with an error or without end"},
    {"command error", "it could not be started"},
    {"", "its answer names no adapter"},
};

constexpr Reason readingReasons[] = {
    {"command failed!", "it ended with an error"},
    {"file open error", "it left no answer"},
    {"GetHbaAttribData return:", "its answer is empty or incomplete, or had no end"},
    {"command error", "its answer is empty"},
    {"format error", "its answer has an unknown form"},
    {"", "its answer is incomplete or had no end"},
};

constexpr Reason utilityReasons[] = {
    {"There is not uninstall.sh file", "the module holds no uninstall script"},
    {"There is not install.sh file", "the module holds no install script"},
    {"Failed to get os architecture", "the module is not for this machine's architecture"},
    {"temp_ocm_uninstall.txt", "the uninstall script did not tell success"},
    {"temp_ocm_install.txt", "the install script did not tell success"},
    {"Failed to get create unzip folder", "the folder for the package could not be made"},
    {"", "the update module could not be made ready"},
};

constexpr Reason driverReasons[] = {
    {"There is not update file", "the module holds no driver package"},
    {"There is some update file", "the module holds several driver packages"},
    {"Not supported OS arch", "the module is not for this machine's architecture"},
    {"Driver update error(", "rpm did not install the driver package"},
    {"delete update module folder",
     "the package was installed, but its folder could not be removed"},
    {"Failed to get create unzip folder", "the folder for the package could not be made"},
    {"", "the update module could not be made ready"},
};

constexpr Reason firmwareReasons[] = {
    {"One Command Manager Install Path", "the adapter tool is not installed any more"},
    {"PCI Information is invalid", "the port's PCI location is unknown"},
    {"Failed to get create unzip folder", "the folder for the images could not be made"},
    {"There is not bios file", "the module holds no boot BIOS image"},
    {"There is some bios file", "the module holds several boot BIOS images"},
    {"There is not firmware file", "the module holds no firmware image"},
    {"There is some firmware file", "the module holds several firmware images"},
    {"No such unique name", "the provider does not know the adapter's model"},
    {"Failed to update execute", "the adapter tool could not be started"},
    {"Failed to bios update", "the adapter tool did not say that the boot BIOS was written"},
    {"No such end message", "the adapter tool did not say that it had come to an end"},
    {"No such success message", "the adapter tool did not say that the firmware was written"},
    {"Failed to execute command",
     "the adapter tool ran four times without saying that the download was complete"},
    {"temp_hbacmd_Download.txt", "what the adapter tool printed could not be read"},
    {"delete update module folder", "the image was written, but its folder could not be removed"},
    {"", "the update module could not be made ready"},
};

template <std::size_t Count>
std::string FirstOf(const Reason (&reasons)[Count], const CallRecord& record) {
    const auto& lines = record.Details();
    const auto tells = [&](const Reason& reason) {
        return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(reason.trace) != std::string::npos;
        });
    };
    const auto found = std::find_if(std::begin(reasons), std::end(reasons) - 1, tells);
    return found->words;  // the last row is for all that has no row
}

}  // namespace

std::string ReasonOfListing(const CallRecord& record) {
    return FirstOf(listingReasons, record);
}

std::string ReasonOfReading(const CallRecord& record) {
    return FirstOf(readingReasons, record);
}

std::string ReasonOfUpdate(const std::string& kind, const CallRecord& record) {
    if (kind == UtilityKind) {
        return FirstOf(utilityReasons, record);
    }
    return kind == DriverKind ? FirstOf(driverReasons, record) : FirstOf(firmwareReasons, record);
}

}  // namespace qdmctl
