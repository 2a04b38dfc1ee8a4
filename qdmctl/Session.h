#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/CacheGuard.h"
#include "qdmctl/CallRecord.h"
#include "qdmctl/ConfigReport.h"
#include "qdmctl/Console.h"
#include "qdmctl/Descriptor.h"
#include "qdmctl/Discovery.h"
#include "qdmctl/Options.h"
#include "qdmctl/ParallelRead.h"
#include "qdmctl/ProviderLibrary.h"
#include "qdmctl/RunLock.h"

#include <functional>
#include <string>
#include <vector>

namespace qdmctl {

/// One port of a run: what the kernel shows, the provider's object for it, and what the answer
/// tells.
struct PortSession {
    DiscoveredPort found;
    ProviderLibrary::Vendor vendor;
    Port view;
    bool usable = false;  ///< linked and identified; else the answer holds the reason
    ParallelRead::Outcome filled = ParallelRead::Outcome::NotBegun;  ///< its attributes' cache
};

/// What every command needs before it can do its own work: the lock, the provider, and the ports
/// that the user chose, linked and read. Each step adds its errors to the answer and returns
/// whether to go on.
class Session {
public:
    Session(const Options& options, Console& console, Answer& answer);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Both of these.
    [[nodiscard]] bool Open() { return OpenWorkArea() && OpenPorts(); }

    /// Rights, work area, lock: enough to read and write what runs leave to later ones.
    [[nodiscard]] bool OpenWorkArea();

    /// Descriptor, provider library, the chosen ports.
    [[nodiscard]] bool OpenPorts();

    /// Links every chosen port and identifies it. False when the adapter tool is missing or lists
    /// nothing, so that no port can be used.
    [[nodiscard]] bool Link();

    /// Fills the versions of the usable ones among these ports; a port that the tool does not
    /// answer for gets an error.
    void ReadVersions(const std::vector<PortSession*>& wanted);

    /// Whether the user wants to stop; the answer tells it once.
    bool Stopped();

    /// Copies the ports' views into the answer.
    void Publish();

    /// Makes the next readings ask the adapter tool anew, for all ports.
    void DropCaches();

    /// Whether the adapter tool has gone; false before the ports are linked.
    bool ToolIsMissing();

    /// Whether it was asked for its version and did not tell.
    bool UtilityIsSilent() const { return utilityFailed; }

    std::vector<PortSession>& Ports() { return ports; }
    const Descriptor& ProviderDescriptor() const { return descriptor; }
    std::vector<PortSession*> AllPorts();
    /// Of all ports of the server, also those that were not chosen.
    const std::vector<std::string>& ServerDeviceIds() const { return serverDeviceIds; }
    const std::string& Root() const { return root; }
    /// A private folder of this run below the work area, made anew and removed with the session;
    /// empty when that failed.
    [[nodiscard]] std::string ScratchFolder(const std::string& name);
    /// An empty one for the provider's report. It stays from run to run: to make and remove it
    /// would take longer than the report.
    [[nodiscard]] std::string ReportFolder() const;

    /// A step that only reads, with its deadline.
    Step ReadingStep(const std::string& phase, const PortSession* port) const;

    /// Runs one call of the provider as a reading step. False when the step's time was over, so
    /// that the tool was ended.
    bool Reading(const Step& step, const std::function<void()>& call);

    void AddError(ErrorId id, const std::string& message, const std::string& hint,
                  const PortSession* port = nullptr);

    /// An error of one port with what the provider said about it.
    void AddPortError(ErrorId id, const PortSession& port, const std::string& message,
                      const std::string& hint, const CallRecord& record,
                      const std::string& kind = {});

    const Options& options;
    Console& console;
    Answer& answer;

private:
    bool CheckRights();
    bool CheckWorkArea();
    bool WrittenBefore() const;
    bool TakeLock();
    bool LoadProvider();
    bool FindPorts();
    bool KeepChosen(const std::vector<std::string>& wanted, bool byWwpn);
    bool MakeVendor(PortSession& port);
    bool LinkPort(PortSession& port);
    bool ListAdapters(PortSession& port);
    void Identify(PortSession& port, const std::string& wwpn, const CallRecord& record);
    bool ToolPresent();
    void FillCaches(const std::vector<PortSession*>& wanted);
    bool MayRead(PortSession& port);
    bool ReadPortVersions(PortSession& port);
    void TellAttributesFailure(PortSession& port, const std::string& reason);
    void ReadUtilities(const std::vector<PortSession*>& wanted);
    void ReadUtility(PortSession& port);
    void ReadUtility(PortSession& port, CUtility& utility);
    void TellUtilityFailure(const std::string& reason);
    static void ForgetAttributes(PortSession& port);
    void ReadBootBios(const std::vector<PortSession*>& read);
    std::vector<ReportedPort> ReadReport(const std::vector<PortSession*>& read);

    std::string root;
    RunLock lock;
    CacheGuard caches;
    Descriptor descriptor;
    ProviderLibrary library;
    std::vector<PortSession> ports;
    std::vector<std::string> scratchFolders;
    std::vector<std::string> serverDeviceIds;
    bool listedAgain = false;    // for a port that the first listing did not show
    bool utilityFailed = false;  // told once, for it is the server's and no port's
};

}  // namespace qdmctl
