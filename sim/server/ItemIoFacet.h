// IOPCItemIO of a server object: reads and writes without a group.
#pragma once

#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class ItemIoFacet final : public ServerFacet<IOPCItemIO> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE Read(DWORD count, LPCWSTR* itemIds, DWORD* maximumAges, VARIANT** values,
                                   WORD** qualities, FILETIME** times, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE WriteVQT(DWORD count, LPCWSTR* itemIds, OPCITEMVQT* values, HRESULT** errors) override;
};

}  // namespace Korvex::Simulation
