#pragma once

#include <gtest/gtest.h>

#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

/// Stands for the output of a program that leaves the output file alone, where a run normally
/// truncates it, and for the text of a missing file.
inline const std::string noText = "(none)";

/// One run of a program, as the provider asked for it.
struct HostCommand {
    enum Runner { System, ForeignModule };

    Runner runner;
    std::string line;
    std::string outputFile, workFolder;  ///< of a foreign module
    unsigned long timeoutMs = 0;         ///< of a foreign module
    unsigned long codeBefore = 0;        ///< what the return code held before the run
};

/// How a program ended.
struct Ran {
    std::string output;
    int code = 0;    ///< exit status
    int status = 0;  ///< 0 it ran; else what ExecForeignModule or system() answers
};

/// What the host answers.
struct HostAnswers {
    /// KeepFound: a file that a search finds is gone after it.
    enum Call { CreateFolder, DeleteFolder, Unzip, DeleteFile, KeepFound };
    struct Location {
        int bus, device, function;
    };

    bool hbacmdInstalled = true;
    std::string architecture = "x86_64";
    time_t clock = 1600000000;            ///< what time() tells; pauses move it on
    std::map<std::string, Location> pci;  ///< by device identifier
    /// Update modules: archive path to the members' names and contents.
    std::map<std::string, std::map<std::string, std::string>> archives;
    std::function<Ran(const HostCommand&)> run;         ///< none: every program prints nothing
    std::function<void(unsigned long ms)> duringSleep;  ///< what happens while the provider waits
    /// Services that fail for this path (of Unzip: the archive).
    std::set<std::pair<Call, std::string>> failing;
};

/// What the provider did, in order.
struct HostRecord {
    Lines traces;    ///< "LEVEL text"
    Lines messages;  ///< "ID insert|insert"
    Lines shown;     ///< ShowMessage: "text|detail"
    std::vector<HostCommand> commands;
    std::vector<unsigned long> sleeps;
    Lines locks;  ///< "Create(1,null)", "Lock(-1)", "Unlock"
};

/// The host as the provider sees it, on a private folder: its own programs, devices, pauses, locks,
/// traces and messages, all of them recorded. It never sleeps and never runs a program.
class HostDouble : public HostAnswers, public HostRecord {
public:
    static HostDouble& Get();
    ~HostDouble();

    /// A new empty install root, default answers, nothing recorded.
    void Reset();

    void Fail(Call call, const std::string& path) { failing.insert({call, path}); }
    void Mend() { failing.clear(); }
    bool Fails(Call call, const std::string& path) const { return failing.count({call, path}) > 0; }

    // The private folder.
    const std::string& Root() const { return root; }
    std::string Cache(const std::string& name = "") const {
        return root + "/tmp/EMULEX/cache/" + name;
    }
    std::string Temp(const std::string& name = "") const {
        return root + "/tmp/EMULEX/temp/" + name;
    }
    /// Stands for the machine's /etc.
    std::string Etc(const std::string& name) const { return root + "/etc/" + name; }
    /// Writes a file, folders included.
    void Write(const std::string& path, const std::string& text);
    std::string Read(const std::string& path) const;
    static bool Exists(const std::string& path) { return std::filesystem::exists(path); }
    /// Makes a file so many seconds old by the controlled clock.
    void SetAge(const std::string& path, long seconds);

    Lines CommandLines() const;
    /// True when a trace line reads exactly so, level in front.
    bool Traced(const std::string& line) const;
    /// Number of trace lines that contain `text`.
    int TraceCount(const std::string& text) const;
    /// The first and the last trace line, "FIRST; LAST".
    std::string Frame() const { return traces.at(0) + "; " + traces.back(); }
    /// The trace lines that tell more than entry and exit.
    Lines Details() const { return LinesAtLevels(" 1 2 16 "); }
    /// Of these the errors and warnings.
    Lines Complaints() const { return LinesAtLevels(" 2 16 "); }

    Ran Run(const HostCommand& command);

private:
    Lines LinesAtLevels(const std::string& levels) const;

    std::string root;
};

/// A test on a fresh host and a cleared last error.
class HostTest : public ::testing::Test {
protected:
    HostTest();

    /// Forgets what was recorded, and the last error; the next row of a table starts so.
    void Forget();
    /// The last error, without a trace of asking.
    static unsigned long LastError();
    /// What was told since the last call, "ERROR" or "ERROR: complaint; complaint" and in either
    /// case perhaps " | message", and forgets it.
    std::string Told();

    HostDouble& host = HostDouble::Get();
};
