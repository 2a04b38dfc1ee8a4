#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace qdmctl {

/// A whole number that fits its type; else throws what the library throws for a wrong type. The
/// library's own conversion has no defined result for a number that does not fit.
template <class Number>
[[nodiscard]] Number WholeNumber(const nlohmann::json& json) {
    using Limits = std::numeric_limits<Number>;
    const bool fits = json.is_number_unsigned()
                          ? json.get<std::uint64_t>() <= std::uint64_t{Limits::max()}
                          : json.is_number_integer() && Limits::is_signed &&
                                json.get<std::int64_t>() >= std::int64_t{Limits::min()};
    if (!fits) {
        throw nlohmann::json::other_error::create(502, "no number of its type", nullptr);
    }
    return json.get<Number>();
}

}  // namespace qdmctl
