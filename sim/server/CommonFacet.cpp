#include "sim/server/CommonFacet.h"

#include <algorithm>

#include "sim/Simulation.h"
#include "sim/server/error_texts.h"

namespace Korvex::Simulation {

HRESULT CommonFacet::SetLocaleID(LCID locale) {
    return serve("IOPCCommon::SetLocaleID", note("locale", locale), outputs(), [&]() -> HRESULT {
        if (!isLocale(locale)) return E_INVALIDARG;
        server().setLocale(locale);
        return S_OK;
    });
}

HRESULT CommonFacet::GetLocaleID(LCID* locale) {
    return serve("IOPCCommon::GetLocaleID", note(), outputs(out(locale)), [&]() -> HRESULT {
        *locale = server().locale();
        return S_OK;
    });
}

HRESULT CommonFacet::QueryAvailableLocaleIDs(DWORD* count, LCID** locales) {
    return serve("IOPCCommon::QueryAvailableLocaleIDs", note(), outputs(out(count), array(locales, count)),
                 [&]() -> HRESULT {
                     const auto available = simulation().options.get().locales;
                     Results<LCID> result(available.size());
                     std::copy(available.begin(), available.end(), &result[0]);
                     *count = static_cast<DWORD>(available.size());
                     result.give(locales);
                     return S_OK;
                 });
}

HRESULT CommonFacet::GetErrorString(HRESULT error, LPWSTR* text) {
    return serve("IOPCCommon::GetErrorString", note("error", error), outputs(out(text)),
                 [&] { return giveErrorText(error, server().locale(), text); });
}

HRESULT CommonFacet::SetClientName(LPCWSTR name) {
    return serve("IOPCCommon::SetClientName", note("name", name), outputs(),
                 [&]() -> HRESULT { return name ? S_OK : E_INVALIDARG; });
}

}  // namespace Korvex::Simulation
