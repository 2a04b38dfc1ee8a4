#pragma once

#include <list>
#include <map>
#include <string>
#include <utility>

/// Adapter services that all vendor and module classes share. Never instantiated; not safe for
/// threads.
///
/// Operations report failure in their result and leave the reason in the last-error code, which is
/// never reset here.
class CEmulexCommon {
public:
    // Last error.
    static void SetLastError(unsigned long code);
    static unsigned long GetLastError();
    /// Lower-case hexadecimal for codes below 39, else "no errcode".
    static std::string GetLastErrorToChractor();

    // Commands. Int results without a comment are booleans.
    static unsigned long FindNotDisitChar(std::string text, unsigned long start);
    static int GetProgramFilesFolder_(std::string* out);
    /// Path of `hbacmd`; error 11 when it is not installed.
    static int GetOCMManagerInstallPath(std::string* out);
    /// Runs a shell line, every double quote taken out of it. -1 for failure; for a line with " > "
    /// 0 once the output file has content; else the raw status of system().
    static int ExecCommand_(std::string command);
    /// Writes the adapter list. The outcome shows only in that file and in the operator message of
    /// a failure.
    static void ExecListhbasCommand(std::string hbacmdPath);

    // Attribute cache. 0 for success and -1 for failure of GetHbaAttribData and
    // DeleteHbaAttribCache, booleans of the other int results.
    static int GetHbaAttribData(std::string wwpn, std::string key, std::string& value);
    static int DeleteHbaAttribCache(std::string wwpn);
    static int CreateLocalDirectory();
    static std::string GetDumpCacheFilePath(std::string name);
    static int CheckDumpFileKeyWord_(std::string file, std::string adapterType);
    /// Newest of the files in `directory` that match `pattern`, with its path; empty when there is
    /// none.
    static std::string LatestFile(std::string directory, std::string pattern);

    // Versions. Comparisons: positive when version2 is newer, negative when version1 is, 0 when
    // they are equal or one is malformed (error 30). Only the sign counts.
    static std::string FormatVersion4SegCleanDust(std::string version);
    static int CheckVendorVersion4SegNormal(std::string version1, std::string version2);
    static bool CheckVersionFCFirmwareFormat(std::string version, long& major, long& minor,
                                             std::string& letters, long& build);
    static bool CheckVersionFCFirmwareFormat(std::string version);
    static int CheckVendorVersionFCFirmware(std::string version1, std::string version2);

    // Key/value files. 1 when the file was read, found or not; 0 and error 17 when it could not be
    // opened. Keys and tags are alternatives separated by "|"; result.first names the one that
    // matched, empty when none did.
    static int GetKeyValueFromFile_(std::string file, std::string keys, std::string separator,
                                    std::pair<std::string, std::string>& result,
                                    unsigned int index);
    static int GetTagKeyValueFromFile_(std::string file, std::string tags, std::string keys,
                                       std::string separator,
                                       std::pair<std::string, std::string>& result,
                                       unsigned int index);

    // Updates.
    /// Runs an update tool and judges it: 1 by return code, 2 by a first line "0", 3 by the
    /// messages in its output, 4 by those in the one report that it leaves in `reportsDir`.
    static int EmulexUpdate(std::string command, std::string outputFile, std::string arg3,
                            unsigned long* returnCode, std::string reportsDir,
                            std::string definitionFile, int Resultmode);
    static int CheckUpdateResult_(std::string resultFile, std::string definitionFile);

    // Discovery.
    static bool GetVenDevIdList(std::string iniName, std::list<std::string>* cnaIds,
                                std::list<std::string>* second, std::list<std::string>* third,
                                std::list<std::string>* fcIds);
    static bool GetVenderIdList(std::list<std::string>* ids);
    static bool GetHBAInfoList(std::list<std::map<std::string, std::string>>* adapters);
    static bool GetHBAInfo(std::string deviceId, std::map<std::string, std::string>* adapter);

    static unsigned long m_dwLastError;
};
