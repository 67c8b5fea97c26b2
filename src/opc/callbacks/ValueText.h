// Values and times as the trace shows them.
#pragma once

#include <korvex/native/OpxDate.h>
#include <korvex/native/OpxVariant.h>
#include <korvex/text.h>

namespace OpxOpc {

// "<Invalid Data>" for what has no text form; nothing is thrown for a value's sake.
OpxString valueText(const OpxVariant& value);
OpxString timeText(const OpxDate& time);

}  // namespace OpxOpc
