#include "com/hosting/FreeThreadedMarshaler.h"

namespace Korvex::Com {

HRESULT createFreeThreadedMarshaler(IUnknown* outer, IUnknown** marshaler) noexcept {
    return CoCreateFreeThreadedMarshaler(outer, marshaler);
}

}  // namespace Korvex::Com
