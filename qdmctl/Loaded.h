#pragma once

#include "qdmctl/Error.h"

#include <optional>
#include <vector>

namespace qdmctl {

/// A value, or every reason why there is none.
template <class Value>
struct Loaded {
    std::optional<Value> value;
    std::vector<Error> errors;  ///< empty when there is a value

    explicit operator bool() const { return value.has_value(); }
};

}  // namespace qdmctl
