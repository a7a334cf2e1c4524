#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

#include "framework/PropertyStream.h"

namespace framework::test {

// Equal in every bit: a NaN is equal to itself here.
inline bool Same(const PropertyValue& a, const PropertyValue& b) {
    if (a.name != b.name || a.value.index() != b.value.index()) return false;
    return std::visit(
        [&](const auto& left) {
            const auto& right = std::get<std::remove_cvref_t<decltype(left)>>(b.value);
            if constexpr (std::is_same_v<std::remove_cvref_t<decltype(left)>, double>) {
                return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
            } else {
                return left == right;
            }
        },
        a.value);
}

inline bool Same(const PropertySet& a, const PropertySet& b) {
    if (a.extentX != b.extentX || a.extentY != b.extentY || a.values.size() != b.values.size()) return false;
    for (std::size_t i = 0; i < a.values.size(); ++i)
        if (!Same(a.values[i], b.values[i])) return false;
    return true;
}

}  // namespace framework::test
