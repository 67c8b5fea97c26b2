// Expected failures of conversions.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include <korvex/native/OpxTypeConversionException.h>
#include <korvex/native/OpxVariant.h>

namespace OpxOpc {

// The reason with which `conversion` fails; nothing if it succeeds.
inline std::optional<std::int32_t> reasonOf(const std::function<void()>& conversion) {
    try {
        conversion();
    } catch (const OpxTypeConversionException& failure) {
        return failure.reason();
    }
    return std::nullopt;
}

inline OpxVariant text(const OLECHAR* content) {
    return OpxVariant::of(content);
}

}  // namespace OpxOpc
