// Sinks that are never freed.
#pragma once

#include "com/com.h"

namespace OpxOpc {

// Holds a reference on `sink` until the process ends: a server that refused it may have kept a pointer
// all the same, and a sink whose lock stays taken must not be destroyed. Any thread may call.
void keepForever(IUnknown* sink);

}  // namespace OpxOpc
