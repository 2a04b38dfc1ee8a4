#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CUnzip_Utility.h"
#include "host/Sleep.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/common/Failure.h"
#include "provider/common/LineFile.h"
#include "provider/common/Trace.h"
#include "provider/common/WorkArea.h"
#include "provider/modules/CEMULEX_Firmware.h"
#include "provider/modules/UpdatePackage.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string_view>

namespace {

constexpr int downloadAttempts = 4;
constexpr unsigned long attemptPauseMs = 1000;
constexpr unsigned long noTimeLimit = std::numeric_limits<unsigned long>::max();
constexpr int judgedByMessages = 3;  // result mode of EmulexUpdate

// The short exit line of a download that stops at the choice of its images is relied on.
constexpr const char* shortExit = "CEMULEX_Firmware::FwUpdate() [END]";

/// Where one download gets its images, its tool and its port from.
struct Download {
    std::string workFolder, ocmPath, wwpn;
    std::string biosImage;  ///< empty for models whose boot BIOS is part of the firmware
    std::string firmwareImage;

    std::string Command(const std::string& image) const {
        return "\"" + ocmPath + "\" Download " + wwpn + " \"" + workFolder + "/" + image + "\"";
    }
    std::string MessageFile() const { return workFolder + "/message.txt"; }
};

/// The images that a kind of update module must hold, one of each.
struct ImageRule {
    const char* firmware;
    const char* bios;  ///< null: none
};

// Below the install root, whatever work folder was given.
std::string OutputFile() {
    return WorkArea::TempFile("firm") + "/temp_hbacmd_Download.txt";
}

bool Is8G(const std::string& uniqueName) {
    const std::string dualPort = "fcelx_8g2p";  // the adapter's PCI identifiers follow
    return uniqueName == "fcelx_8g1p" || uniqueName.compare(0, dualPort.size(), dualPort) == 0;
}

ImageRule RuleFor(const std::string& uniqueName) {
    if (Is8G(uniqueName)) {
        return {"*.all", "*.prg"};
    }
    if (uniqueName == "fcelx_16g") {
        return {"*.grp", nullptr};
    }
    if (uniqueName == "OCe11102" || uniqueName == "OCl14104") {
        return {"*.ufi", nullptr};
    }
    return {nullptr, nullptr};
}

bool FindFunction(const std::string& deviceId, int& function) {
    int bus = 0, device = 0;
    if (!CCommon_Information::GetPCIInfo(deviceId, &bus, &device, &function, Trace::File)) {
        return Fail(ErrorCode::PciLocationUnknown, "PCI Information is invalid");
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Func Number is [%d]", function);
    return true;
}

std::list<std::string> Search(const std::string& folder, const char* pattern) {
    std::list<std::string> found;
    CFileUtility::SearchFile(folder, pattern, &found, false);
    return found;
}

bool TakeOnly(const std::list<std::string>& found, const std::string& kind, std::string& image) {
    const std::string complaint = "Failed to find update module.There is ";
    if (found.empty()) {
        return Fail(ErrorCode::NoSingleImage, complaint + "not " + kind + " file.");
    }
    if (found.size() > 1) {
        return Fail(ErrorCode::NoSingleImage, complaint + "some " + kind + " file.");
    }
    image = found.front();
    return true;
}

bool SelectImages(const std::string& uniqueName, Download& download, TraceScope& trace) {
    const ImageRule rule = RuleFor(uniqueName);
    std::list<std::string> firmware;
    if (rule.firmware == nullptr) {
        Fail(ErrorCode::NoSingleImage, "No such unique name.");
        // Goes on to the firmware check and its exit line; both lines of each kind are relied on.
        CTraceUtility::WriteDebug(Trace::File, Trace::Flow, "%s", shortExit);
        return TakeOnly(firmware, "firmware", download.firmwareImage);
    }
    if (rule.bios != nullptr &&
        !TakeOnly(Search(download.workFolder, rule.bios), "bios", download.biosImage)) {
        trace.SetExit(shortExit);
        return false;
    }
    firmware = Search(download.workFolder, rule.firmware);
    return TakeOnly(firmware, "firmware", download.firmwareImage);
}

bool RunJudgedByMessages(const Download& download, const std::string& command) {
    unsigned long returnCode = 1;
    return CEmulexCommon::EmulexUpdate(command, OutputFile(), download.workFolder, &returnCode, "",
                                       download.MessageFile(), judgedByMessages) != 0;
}

bool FlashBios(const Download& download) {
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "bios update file name(%s).",
                              download.biosImage.c_str());
    if (download.biosImage.empty()) {
        return true;
    }
    const std::string command = download.Command(download.biosImage);
    CTraceUtility::WriteDebug(Trace::File, Trace::Info, "Execute bios update(%s).",
                              command.c_str());
    return RunJudgedByMessages(download, command) ||
           Fail(ErrorCode::FileOrCommand, "Failed to bios update(" + command + ").");
}

// Only what the tool prints decides, neither its exit status nor whether it could be started.
// Nothing where that cannot be opened.
std::optional<bool> Confirms(const std::string& file) {
    LineFile output(file);
    if (!output) {
        return std::nullopt;
    }
    while (const auto line = output.Next()) {
        if (line->find("Download Complete") != std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool RunUntilConfirmed(const std::string& command) {
    int result = 0;
    for (int attempt = 1; attempt <= downloadAttempts; ++attempt) {
        CTraceUtility::WriteDebug(Trace::File, Trace::Info, "ExecForeignModule cmd:[%s]",
                                  command.c_str());
        unsigned long returnCode = 1;
        result = CCommon_Information::ExecForeignModule(command, OutputFile(), "", &returnCode,
                                                        noTimeLimit);
        const std::optional<bool> confirmed = Confirms(OutputFile());
        if (!confirmed) {
            return Fail(ErrorCode::FileOrCommand, "Failed to open file(" + OutputFile() + ").");
        }
        if (*confirmed) {
            return true;
        }
        if (attempt < downloadAttempts) {
            Sleep(attemptPauseMs);
        }
    }
    return Fail(ErrorCode::DownloadNotConfirmed,
                "Failed to execute command:" + command + " ,return:" + std::to_string(result));
}

bool FlashFirmware(const Download& download) {
    const std::string command = download.Command(download.firmwareImage);
    if (!CFileUtility::IsFileExist(download.MessageFile())) {
        return RunUntilConfirmed(command);
    }
    return RunJudgedByMessages(download, command) ||
           Fail(ErrorCode::FileOrCommand, "Failed to open file(" + OutputFile() + ").");
}

// A folder left behind fails the step although the adapter was flashed: the next one starts there.
bool RemoveFolder(const std::string& folder) {
    return CUnzip_Utility::DeleteFolder(folder, Trace::File) ||
           Fail(ErrorCode::FolderNotRemoved,
                "Failed to get delete update module folder(" + folder + ")");
}

}  // namespace

// All functions of an 8G adapter are flashed, of any other function 0 for the whole adapter.
bool CEMULEX_Firmware::IsLeftToOtherFunction(int function) const {
    if (function == 0 || Is8G(uniqueName)) {
        return false;
    }
    CTraceUtility::WriteDebug(Trace::File, Trace::Info,
                              "CheckPCIInfo is false. FwUpdate is skipped");
    return true;
}

bool CEMULEX_Firmware::FwUpdate(std::string updateModule, std::string workFolder,
                                std::string ocmPath, std::list<std::string>* messages, bool) {
    TraceScope trace = Traced("CEMULEX_Firmware::FwUpdate");
    int function = 0;
    if (!FindFunction(deviceId, function)) {
        return false;
    }
    if (IsLeftToOtherFunction(function)) {
        return true;
    }
    Download download = {workFolder, ocmPath, wwpn, "", ""};
    return UpdatePackage::Unpack(updateModule, messages, workFolder, nullptr) &&  //
           SelectImages(uniqueName, download, trace) &&                           //
           FlashBios(download) &&                                                 //
           FlashFirmware(download) &&                                             //
           RemoveFolder(workFolder);
}
