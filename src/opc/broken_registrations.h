// Telling of servers that could have been meant and were not looked at.
#pragma once

#include "com/platform.h"
#include "trace/LibT.h"

namespace OpxOpc {

// Writes a line for each registration that the calling thread's last look at COM's registry on this machine passed
// over.
inline void traceBrokenRegistrations(const char* operation) {
    for (const OpxString& broken : Korvex::Com::takeBrokenRegistrations()) {
        LibT::lError("Error: %s - skipped the registration %ls", operation, broken);
    }
}

}  // namespace OpxOpc
