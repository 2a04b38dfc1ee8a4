#pragma once

#include "qdmctl/TableText.h"

#include <optional>
#include <string>

namespace qdmctl {

struct Answer;

/// How the standard streams of this program show a table.
struct StreamStyles {
    TableStyle output;
    TableStyle errors;
};

[[nodiscard]] StreamStyles StylesOfStreams();

/// What a run prints, and how it ends.
struct Output {
    int exitCode = 0;
    bool toErrors = false;  ///< the text is for standard error
    std::string text;
};

/// The answer as one JSON object, or for people. Errors of a run without a table go to standard
/// error, where people look for them.
[[nodiscard]] Output OutputOf(const Answer& answer, bool json, const StreamStyles& styles);

/// On its way from the worker to the front process: exit code and stream on a line of their own,
/// then the text.
[[nodiscard]] std::string ToText(const Output& output);
[[nodiscard]] std::optional<Output> OutputFromText(const std::string& text);

}  // namespace qdmctl
