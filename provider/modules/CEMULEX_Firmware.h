#pragma once

#include "host/CFirmware.h"
#include "provider/common/TraceScope.h"

#include <list>
#include <string>

/// Firmware module of one adapter port. The download is all done in PreUpdate.
class CEMULEX_Firmware : public CFirmware {
public:
    CEMULEX_Firmware(std::string deviceId, std::string wwpn);
    ~CEMULEX_Firmware() override;

    /// "abnormal" when the port is unknown, the adapter does not answer, or the version has not the
    /// model's form. During an update the version at its begin.
    std::string GetOperatingVersion() override;
    int CheckVendorVersion(std::string version1, std::string version2) override;

    int UpdateBackup(std::string, bool) override;  ///< nothing to back up
    int PreUpdate(std::string, std::string updateModule, std::list<std::string>* messages,
                  bool flag) override;
    int Update(std::string, std::string, std::list<std::string>*, bool) override;  ///< nothing left
    /// Forgets what was read of the adapter; always 0.
    int UpdateRestore(std::string) override;
    bool UpdateApplyCheck(std::string) override;

    virtual void SetWWPNorMac(std::string value);

    /// A version as the adapter writes it in the form that versions are compared in, or "abnormal".
    virtual std::string FormatVersionString(std::string version);

    /// Downloads the boot BIOS, where the model has one, and the firmware image of an update
    /// module. True when done or rightly left to another function of the adapter. On failure the
    /// last error tells why, and the work folder stays.
    bool FwUpdate(std::string updateModule, std::string workFolder, std::string ocmPath,
                  std::list<std::string>* messages, bool);

protected:
    /// Entry and exit lines that tell the port. Keeps the pointer.
    TraceScope Traced(const char* operation) const;
    /// Writes an exit line that also tells the result.
    TraceScope::Writer ResultLine(const char* operation, std::string result) const;

    std::string wwpn;

private:
    /// "OPERATION() [device identifier] [WWPN] MARK"
    void WriteLine(const char* operation, const char* mark) const;
    std::string ReadOperatingVersion();
    bool IsLeftToOtherFunction(int function) const;
};
