#pragma once

#include "qdmctl/Answer.h"
#include "qdmctl/TableText.h"

#include <string>

namespace qdmctl {

/// Whether there is anything to show beside errors.
[[nodiscard]] bool HasTable(const Answer& answer);

/// The answer for people. One row a port, or one row a component where the answer has components;
/// a row that is too wide continues on indented lines. Errors follow with their hints. Control
/// characters and bytes that are no UTF-8 are shown as "?".
[[nodiscard]] std::string ToTable(const Answer& answer, const TableStyle& style = {});

/// The errors alone, as they stand below the table.
[[nodiscard]] std::string ErrorsToText(const std::vector<Error>& errors,
                                       const TableStyle& style = {});

}  // namespace qdmctl
