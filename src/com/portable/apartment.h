// The calling thread's apartment.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

// True when the thread has entered an apartment, or the process has a multi-threaded one, which a
// thread that never entered any then sees.
bool isInApartment() noexcept;

}  // namespace Korvex::Com
