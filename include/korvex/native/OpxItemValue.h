// An item's value with its quality and time.
#pragma once

#include <cstdint>

#include <korvex/native/OpxDate.h>
#include <korvex/native/OpxVariant.h>

namespace OpxOpc {

struct OpxItemValue {
    OpxVariant value;
    std::int32_t quality = 0;  // OPC quality word
    OpxDate timestamp = OpxDate::now();
    bool qualitySpecified = false;
    bool timestampSpecified = false;
};

}  // namespace OpxOpc
