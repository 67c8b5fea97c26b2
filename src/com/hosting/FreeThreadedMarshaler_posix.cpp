#include "com/hosting/FreeThreadedMarshaler.h"

namespace Korvex::Com {

HRESULT createFreeThreadedMarshaler(IUnknown*, IUnknown** marshaler) noexcept {
    *marshaler = nullptr;
    return S_FALSE;
}

}  // namespace Korvex::Com
