#pragma once

#include <optional>
#include <string>

namespace qdmctl {

/// One step of a run as a person sees it.
struct Step {
    unsigned number = 0;  ///< from 1; 0 when the run has no fixed plan yet
    unsigned total = 0;
    std::string phase;        ///< what is being done, for example "firm: download"
    std::string device;       ///< device identifier, empty when the step concerns them all
    bool changing = false;    ///< changes the server: never ended once begun
    bool announce = false;    ///< worth a line of its own where no terminal shows it
    bool guarded = false;     ///< the worker itself ends calls that hang or write without end
    unsigned deadlineMs = 0;  ///< a reading step that takes longer is ended; 0: no limit
};

/// Between worker and front process, many times in a run: numbers and marks in a first line, then
/// phase and device, which may hold any characters.
[[nodiscard]] std::string ToText(const Step& step);
[[nodiscard]] std::optional<Step> StepFromText(const std::string& text);

}  // namespace qdmctl
