// An item's value with its quality and time.
#pragma once

#include <cstdint>

#include <korvex/native/OpxDate.h>
#include <korvex/native/OpxVariant.h>

namespace OpxOpc {

/// A value with its quality and time.
struct OpxItemValue {
    /// The value; Empty where there is none.
    OpxVariant value;
    std::int32_t quality = 0;  ///< OPC quality word
    /// When the value was taken.
    OpxDate timestamp = OpxDate::now();
    /// Whether the server told the quality.
    bool qualitySpecified = false;
    /// Whether the server told the time.
    bool timestampSpecified = false;
};

}  // namespace OpxOpc
