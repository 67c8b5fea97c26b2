// Objects that may be called from any thread say so through the free-threaded marshaler, so that
// the interface table hands out their pointers as they are.
#pragma once

#include "com/com.h"

namespace Korvex::Com {

// The marshaler of `outer`, which answers with it the interfaces that it does not know itself.
// S_FALSE with none where pointers cross apartments without one.
HRESULT createFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) noexcept;

}  // namespace Korvex::Com
