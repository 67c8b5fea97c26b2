// The text of a trace line.
#pragma once

#include <cstddef>
#include <string>

#include "trace/TraceFormat.h"

namespace OpxOpc {

// No message of a trace line has more bytes.
inline constexpr std::size_t kLongestTraceText = 2000;

// `format` with its conversions replaced, as printf would in the "C" locale: integers count as 32 bits
// wide, wide text becomes UTF-8 up to its first zero, and what would forge lines or the look of one is
// escaped in texts. A text that is too long is cut, never inside of a character.
std::string traceText(const char* format, const TraceArgument* args, std::size_t count);

// The same for text that the caller makes itself.
template <typename... Args>
std::string traceText(TraceFormat<std::type_identity_t<Args>...> format, const Args&... args) {
    const TraceArgument packed[] = {TraceArgument(args)..., TraceArgument()};
    return traceText(format.text(), packed, sizeof...(Args));
}

}  // namespace OpxOpc
