#include "com/FreeThreadedMarshaler.h"

namespace Korvex::Com {

HRESULT createFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) noexcept {
    return CoCreateFreeThreadedMarshaler(outer, marshaler);
}

}  // namespace Korvex::Com
