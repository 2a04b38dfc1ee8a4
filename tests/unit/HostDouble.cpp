#include "tests/unit/HostDouble.h"

#include "host/CCommon_Information.h"
#include "host/CFileUtility.h"
#include "host/CMutexUtil.h"
#include "host/CTraceUtility.h"
#include "host/CUnzip_Utility.h"
#include "host/DllCommon/MessageTable.h"
#include "host/ShowMessage.h"
#include "host/Sleep.h"
#include "provider/common/CEmulexCommon.h"
#include "provider/modules/FixedPaths.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

HostDouble& Host() {
    return HostDouble::Get();
}

std::string Narrow(const wchar_t* text) {
    const std::wstring wide = text == nullptr ? L"" : text;
    return {wide.begin(), wide.end()};
}

bool Below(const std::string& root, const std::string& path) {
    return path.compare(0, root.size() + 1, root + "/") == 0;
}

// The file that a shell line writes to; empty when it writes none of ours.
std::string Redirection(const std::string& line) {
    const size_t arrow = line.rfind(" > ");
    return arrow == std::string::npos ? ""
                                      : line.substr(arrow + 3, line.rfind(" 2>&1") - arrow - 3);
}

}  // namespace

HostDouble& HostDouble::Get() {
    static HostDouble host;
    return host;
}

HostDouble::~HostDouble() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

void HostDouble::Reset() {
    fs::remove_all(root);
    root = ::testing::TempDir() + "qdm-unit-XXXXXX";
    if (mkdtemp(root.data()) == nullptr) {
        throw std::runtime_error("no folder " + root);
    }
    static_cast<HostAnswers&>(*this) = {};
    static_cast<HostRecord&>(*this) = {};
}

void HostDouble::Write(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

std::string HostDouble::Read(const std::string& path) const {
    std::ifstream file(path, std::ios::binary);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : noText;
}

void HostDouble::SetAge(const std::string& path, long seconds) {
    const timespec moment[] = {{clock - seconds, 0}, {clock - seconds, 0}};
    if (utimensat(AT_FDCWD, path.c_str(), moment, 0) != 0) {
        throw std::runtime_error("cannot set the age of " + path);
    }
}

Lines HostDouble::CommandLines() const {
    Lines lines;
    for (const HostCommand& command : commands) {
        lines.push_back(command.line);
    }
    return lines;
}

bool HostDouble::Traced(const std::string& line) const {
    return std::find(traces.begin(), traces.end(), line) != traces.end();
}

int HostDouble::TraceCount(const std::string& text) const {
    return static_cast<int>(std::count_if(
        traces.begin(), traces.end(),
        [&](const std::string& line) { return line.find(text) != std::string::npos; }));
}

Lines HostDouble::LinesAtLevels(const std::string& levels) const {
    Lines lines;
    for (const std::string& line : traces) {
        if (levels.find(" " + line.substr(0, line.find(' ') + 1)) != std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

Ran HostDouble::Run(const HostCommand& command) {
    commands.push_back(command);
    Ran ran = run ? run(command) : Ran();
    const std::string file =
        command.runner == HostCommand::System ? Redirection(command.line) : command.outputFile;
    if (ran.output != noText && Below(root, file)) {
        std::ofstream(file, std::ios::binary) << ran.output;
    }
    return ran;
}

HostTest::HostTest() {
    host.Reset();
    Forget();
}

void HostTest::Forget() {
    static_cast<HostRecord&>(host) = {};
    CEmulexCommon::m_dwLastError = 0;
}

unsigned long HostTest::LastError() {
    return CEmulexCommon::m_dwLastError;
}

std::string HostTest::Told() {
    std::string told = std::to_string(LastError()), before = ": ";
    for (const std::string& complaint : host.Complaints()) {
        told += std::exchange(before, "; ") + complaint;
    }
    for (const std::string& message : host.messages) {
        told += " | " + message;
    }
    Forget();
    return told;
}

// The C library, as far as the provider must be led by it.

extern "C" time_t time(time_t* out) noexcept {
    if (out != nullptr) {
        *out = Host().clock;
    }
    return Host().clock;
}

extern "C" int system(const char* line) {
    Ran ran = Host().Run({HostCommand::System, line, "", ""});
    return ran.status != 0 ? ran.status : ran.code << 8;
}

// The machine's own folders, which no test may touch.

std::string FixedPaths::DepmodFolder() {
    return Host().Etc("depmod.d");
}

std::string FixedPaths::ConfigFolder() {
    return Host().Root() + "/etc";
}

// DllCommon.

void CTraceUtility::WriteDebug(const char* file, TRACE_DBG_LEVEL level, const char* format, ...) {
    if (std::string(file) == "host") {
        return;  // a line of the host's own
    }
    va_list arguments, again;
    va_start(arguments, format);
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(vsnprintf(nullptr, 0, format, arguments)), '\0');
    vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    va_end(arguments);
    EXPECT_STREQ(file, "fc");
    Host().traces.push_back(std::to_string(level) + " " + text);
}

// A call passes no count of its own.
void CTraceUtility::WriteTrace(const char* file, const char* messageId, ...) {
    std::string line = messageId;
    va_list inserts;
    va_start(inserts, messageId);
    for (size_t i = 0; i < MessageTable::InsertsOf(messageId).value_or(0); ++i) {
        line += (i == 0 ? " " : "|") + std::string(va_arg(inserts, const char*));
    }
    va_end(inserts);
    EXPECT_STREQ(file, "fc");
    Host().messages.push_back(line);
}

void ShowMessage(const wchar_t* text, const char* detail) {
    Host().shown.push_back(Narrow(text) + "|" + (detail == nullptr ? "" : detail));
}

void ShowMessage(const wchar_t* text, const wchar_t* detail) {
    Host().shown.push_back(Narrow(text) + "|" + Narrow(detail));
}

// ComLib, where it reaches beyond the private folder or has to fail on demand.

std::string CFileUtility::GetInstallPath(int index) {
    return index == 0 ? Host().Root() : "";
}

bool CFileUtility::CreateFolder(std::string path) {
    if (!Host().Fails(HostDouble::CreateFolder, path)) {
        fs::create_directories(path);
    }
    return fs::is_directory(path);
}

bool CFileUtility::IsFileExist(std::string path) {
    return path == "/usr/sbin/ocmanager/hbacmd" ? Host().hbacmdInstalled : fs::exists(path);
}

bool CFileUtility::SearchFile(std::string dir, std::string pattern, std::list<std::string>* found,
                              bool subfolders) {
    EXPECT_FALSE(subfolders);
    found->clear();
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir, error)) {
        const std::string name = entry.path().filename();
        if (!entry.is_regular_file() || fnmatch(pattern.c_str(), name.c_str(), 0) != 0) {
            continue;
        }
        found->push_back(name);
        if (Host().Fails(HostDouble::KeepFound, entry.path())) {
            fs::remove(entry.path());
        }
    }
    found->sort();
    return !error;
}

bool CCommon_Information::RetryDeleteFile(const std::string& path) {
    std::error_code error;
    return !Host().Fails(HostDouble::DeleteFile, path) && (fs::remove(path, error), !error);
}

bool CUnzip_Utility::UpdateModuleUnzip(std::string archive, std::list<std::string>* files,
                                       std::string folder, std::string*, std::string traceFile) {
    EXPECT_EQ(traceFile, "fc");
    const auto module = Host().archives.find(archive);
    if (Host().Fails(HostDouble::Unzip, archive) || module == Host().archives.end()) {
        return false;
    }
    const bool all = files == nullptr || files->empty();
    for (const auto& [name, text] : module->second) {
        if (all || std::find(files->begin(), files->end(), name) != files->end()) {
            Host().Write(fs::path(folder) / name, text);
        }
    }
    return true;
}

bool CUnzip_Utility::DeleteFolder(std::string folder, std::string traceFile) {
    EXPECT_EQ(traceFile, "fc");
    EXPECT_TRUE(Below(Host().Root(), folder)) << folder;
    if (!Host().Fails(HostDouble::DeleteFolder, folder) && Below(Host().Root(), folder)) {
        fs::remove_all(folder);
    }
    return !fs::exists(folder);
}

int CCommon_Information::ExecForeignModule(const std::string& command,
                                           const std::string& outputFile,
                                           const std::string& workFolder, unsigned long* returnCode,
                                           unsigned long timeoutMs) {
    unsigned long unasked = 0;
    unsigned long& code = returnCode == nullptr ? unasked : *returnCode;
    Ran ran =
        Host().Run({HostCommand::ForeignModule, command, outputFile, workFolder, timeoutMs, code});
    if (ran.status == 0) {
        code = static_cast<unsigned long>(ran.code);
    }
    return ran.status;
}

bool CCommon_Information::GetPCIInfo(std::string deviceId, int* bus, int* device, int* function,
                                     const std::string& traceFile) {
    EXPECT_EQ(traceFile, "fc");
    auto found = Host().pci.find(deviceId);
    if (found != Host().pci.end()) {
        *bus = found->second.bus;
        *device = found->second.device;
        *function = found->second.function;
    }
    return found != Host().pci.end();
}

std::string CCommon_Information::GetArchitectureInfo(const std::string& traceFile) {
    EXPECT_EQ(traceFile, "fc");
    return Host().architecture;
}

void Sleep(unsigned long milliseconds) {
    Host().sleeps.push_back(milliseconds);
    Host().clock += static_cast<time_t>(milliseconds / 1000);
    if (Host().duringSleep) {
        Host().duringSleep(milliseconds);
    }
}

bool CMutexUtil::Create(int kind, const char* name, int*) {
    Host().locks.push_back("Create(" + std::to_string(kind) + "," +
                           (name == nullptr ? "null" : name) + ")");
    return true;
}

bool CMutexUtil::Lock(int timeoutMs) {
    Host().locks.push_back("Lock(" + std::to_string(timeoutMs) + ")");
    return true;
}

bool CMutexUtil::Unlock() {
    Host().locks.push_back("Unlock");
    return true;
}
