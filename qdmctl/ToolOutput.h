#pragma once

#include <sys/types.h>
#include <string>

namespace qdmctl {

/// What the adapter tool writes while the provider lets it run: the standard output of the programs
/// below the worker, as far as it goes to files below `folder`. Other files, such as the images
/// that a flash reads, are never touched.
class ToolOutput {
public:
    ToolOutput(pid_t worker, std::string folder) : worker(worker), folder(std::move(folder)) {}

    /// True when some file is longer than any honest answer of the tool.
    [[nodiscard]] bool TooLong() const;

    /// Ends the programs below the worker. What they have written until then gives way to an error
    /// line before, so that half an answer is neither believed nor kept for the next run.
    void EndAndDiscard() const;

    /// Gives the disk space of files that are too long back, without disturbing who writes them:
    /// their beginnings and ends stay, and their lengths. For programs that must not be ended.
    void ReleaseSpace() const;

private:
    pid_t worker;
    std::string folder;
};

}  // namespace qdmctl
