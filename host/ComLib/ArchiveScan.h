#pragma once

#include <string>

#include "host/ComLib/Archive.h"
#include "host/ComLib/Descriptor.h"

/// Takes the members of an archive as they are read.
class MemberSink {
public:
    virtual ~MemberSink() = default;

    // Each returns why the scan must end; empty to go on.
    virtual std::string Begin(const ArchiveMember& member) = 0;
    virtual std::string Data(const char* data, std::size_t size) = 0;
    virtual std::string End(const ArchiveMember& member) = 0;
};

/// An archive file that is held open, so that all passes read the same file.
class ArchiveFile {
public:
    /// Returns the reason of a failure.
    [[nodiscard]] std::string Open(const std::string& file);

    /// Reads all members, checks them against the rules and the limits, and passes them on. Sizes
    /// are counted while reading, never taken from a header. Returns why the archive is refused or
    /// what the sink returned; empty when all is sound.
    [[nodiscard]] std::string Scan(const ArchiveLimits& limits, MemberSink& sink);

    /// True when the file is as it was when it was opened.
    [[nodiscard]] bool Unchanged() const;

private:
    struct Stamp {
        long size, modified, modifiedNs, changed, changedNs;
    };
    bool ReadStamp(Stamp& stamp) const;

    Descriptor descriptor;
    Stamp opened = {};
};
