#pragma once

#include <set>
#include <string>
#include <vector>

#include "host/ComLib/ArchiveScan.h"

/// Writes members below a folder, following no links and replacing nothing. What it wrote is
/// removed at its end unless it was told to keep it.
class UnpackFolder : public MemberSink {
public:
    /// `wanted`: names of the files to write; empty for all members.
    explicit UnpackFolder(std::set<std::string> wanted) : wanted(std::move(wanted)) {}
    ~UnpackFolder() override;
    UnpackFolder(const UnpackFolder&) = delete;
    UnpackFolder& operator=(const UnpackFolder&) = delete;

    /// The folder must exist. Returns the reason of a failure.
    [[nodiscard]] std::string Open(const std::string& path);

    std::string Begin(const ArchiveMember& member) override;
    std::string Data(const char* data, std::size_t size) override;
    std::string End(const ArchiveMember& member) override;

    void Keep() { written.clear(); }

private:
    struct Written {
        std::string name;
        bool folder;
    };

    Descriptor Parent(const std::string& name, bool make);
    Descriptor Enter(const Descriptor& parent, const std::string& path, bool make);
    void Remove(const Written& what);

    std::set<std::string> wanted;
    Descriptor root;
    Descriptor file;
    std::vector<Written> written;
};
