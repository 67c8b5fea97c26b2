// IOPCSyncIO and IOPCSyncIO2 of a group.
#pragma once

#include "sim/group/GroupFacet.h"

namespace Korvex::Simulation {

class SyncIoFacet final : public GroupFacet<IOPCSyncIO2> {
public:
    using GroupFacet::GroupFacet;

    HRESULT STDMETHODCALLTYPE Read(OPCDATASOURCE source, DWORD count, OPCHANDLE* handles, OPCITEMSTATE** values,
                                   HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE Write(DWORD count, OPCHANDLE* handles, VARIANT* values, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE ReadMaxAge(DWORD count, OPCHANDLE* handles, DWORD* maximumAges, VARIANT** values,
                                         WORD** qualities, FILETIME** times, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE WriteVQT(DWORD count, OPCHANDLE* handles, OPCITEMVQT* values, HRESULT** errors) override;
};

}  // namespace Korvex::Simulation
