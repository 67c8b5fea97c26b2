// IOPCAsyncIO2 and IOPCAsyncIO3 of a group.
#pragma once

#include "sim/group/GroupFacet.h"

namespace Korvex::Simulation {

class AsyncIoFacet final : public GroupFacet<IOPCAsyncIO3> {
public:
    using GroupFacet::GroupFacet;

    HRESULT STDMETHODCALLTYPE Read(DWORD count, OPCHANDLE* handles, DWORD transaction, DWORD* cancelId,
                                   HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE Write(DWORD count, OPCHANDLE* handles, VARIANT* values, DWORD transaction,
                                    DWORD* cancelId, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE Refresh2(OPCDATASOURCE source, DWORD transaction, DWORD* cancelId) override;
    HRESULT STDMETHODCALLTYPE Cancel2(DWORD cancelId) override;
    HRESULT STDMETHODCALLTYPE SetEnable(BOOL enable) override;
    HRESULT STDMETHODCALLTYPE GetEnable(BOOL* enable) override;
    HRESULT STDMETHODCALLTYPE ReadMaxAge(DWORD count, OPCHANDLE* handles, DWORD* maximumAges, DWORD transaction,
                                         DWORD* cancelId, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE WriteVQT(DWORD count, OPCHANDLE* handles, OPCITEMVQT* values, DWORD transaction,
                                       DWORD* cancelId, HRESULT** errors) override;
    HRESULT STDMETHODCALLTYPE RefreshMaxAge(DWORD maximumAge, DWORD transaction, DWORD* cancelId) override;

private:
    // serveGroup() for methods whose answer comes through a sink.
    template <typename Outputs, typename Body>
    HRESULT serveAsync(const char* method, const std::string& arguments, const Outputs& outputs, const Body& body);

    template <typename SourceOf>
    HRESULT startRead(DWORD count, const OPCHANDLE* handles, DWORD transaction, DWORD* cancelId, HRESULT** errors,
                      const SourceOf& sourceOf);
    template <typename WorkOf>
    HRESULT startWrite(DWORD count, const OPCHANDLE* handles, DWORD transaction, DWORD* cancelId, HRESULT** errors,
                       const WorkOf& workOf);
    HRESULT startRefresh(ReadSource source, DWORD transaction, DWORD* cancelId);
};

}  // namespace Korvex::Simulation
