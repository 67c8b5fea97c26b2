// Texts on their way to servers and back.
#pragma once

#include <korvex/text.h>

#include "com/com.h"

namespace OpxOpc {

// A text of an answer, which servers may leave out.
inline OpxString textOf(LPCOLESTR text) {
    return text ? OpxString(text) : OpxString();
}

// For the parameters that the interfaces forgot to declare constant; no server writes to them.
inline LPOLESTR writable(const OpxString& text) {
    return const_cast<LPOLESTR>(text.c_str());
}

}  // namespace OpxOpc
