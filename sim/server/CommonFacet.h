// IOPCCommon of a server object.
#pragma once

#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class CommonFacet final : public ServerFacet<IOPCCommon> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE SetLocaleID(LCID locale) override;
    HRESULT STDMETHODCALLTYPE GetLocaleID(LCID* locale) override;
    HRESULT STDMETHODCALLTYPE QueryAvailableLocaleIDs(DWORD* count, LCID** locales) override;
    HRESULT STDMETHODCALLTYPE GetErrorString(HRESULT error, LPWSTR* text) override;
    HRESULT STDMETHODCALLTYPE SetClientName(LPCWSTR name) override;
};

}  // namespace Korvex::Simulation
