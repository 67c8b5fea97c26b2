#include <korvex/native/OpxCmnClient.h>

#include "com/Mutex.h"
#include "core/ServerList.h"
#include "core/guarded.h"
#include "core/server_enumeration.h"
#include "opc/apartment/ApartmentMode.h"
#include "opc/apartment/ComInitialization.h"
#include "opc/broken_registrations.h"
#include "trace/TraceScope.h"

namespace OpxOpc {
namespace {

const std::vector<ServerCategory> kAllCategories = {ServerCategory::OPCDA, ServerCategory::OPCDX, ServerCategory::OPCAE,
                                                    ServerCategory::OPCHDA};

// The living objects of this process.
struct Instances {
    Korvex::Mutex lock;
    std::uint32_t count GUARDED_BY(lock) = 0;
    ComInitialization com GUARDED_BY(lock);
};

Instances& instances() {
    static Instances state;
    return state;
}

void initializeCom(Instances& state) REQUIRES(state.lock) {
    const HRESULT hr = state.com.begin();
    // Any thread may call, beside one with a user interface, and after the one that brought COM up has ended.
    state.com.holdMultiThreadedApartment();
    if (hr == RPC_E_CHANGED_MODE) {
        LibT::lCtor("Ctor CmnClient - COM is already initialized as STA");
        return;
    }
    LibT::lCtor("Ctor CmnClient - initialized COM as MTA");
}

// This machine's COM knows its ProgIDs where it has no list of servers.
HRESULT lookUp(const OpxString& host, const OpxString& progId, CLSID& clsid) {
    ServerList list;
    const HRESULT hr = list.open(host, true);
    if (hr == REGDB_E_CLASSNOTREG && host.empty()) {
        return tracedCall("CLSIDFromProgID", [&] { return CLSIDFromProgID(progId.c_str(), &clsid); });
    }
    if (failed(hr)) return hr;
    return tracedCall("IOPCServerList::CLSIDFromProgID", [&] {
        return list.with([&](auto& asked) { return asked.CLSIDFromProgID(progId.c_str(), &clsid); });
    });
}

HRESULT resolve(const OpxString& host, const OpxString& progId, OpxString& clsidText) {
    CLSID clsid = {};
    HRESULT hr = lookUp(host, progId, clsid);
    if (host.empty()) traceBrokenRegistrations("CmnClient::clsidFromProgId");
    if (failed(hr)) return hr;
    hr = textOfClsid(clsid, clsidText);
    if (succeeded(hr)) LibT::lDetail("     OUT: Clsid=%ls", clsidText);
    return hr;
}

}  // namespace

OpxCmnClient::OpxCmnClient() {
    Instances& state = instances();
    const Korvex::ScopedLock guard(state.lock);
    if (state.count++ != 0) return;
    initializeCom(state);
    ApartmentMode::initializeSecurityOnce();
}

OpxCmnClient::~OpxCmnClient() {
    LibT::lCtor("--> Dtor CmnClient");
    {
        Instances& state = instances();
        const Korvex::ScopedLock guard(state.lock);
        if (--state.count == 0) state.com.end();
    }
    LibT::lCtor("<-- Dtor CmnClient");
}

std::int32_t OpxCmnClient::clsidFromProgId(const OpxString& host, const OpxString& progId, OpxString& clsid) {
    const TraceScope trace("CmnClient::clsidFromProgId");
    LibT::lDetail("     IN: NodeName=%ls ProgID=%ls", host, progId);
    return trace.leave(guarded([&] { return resolve(host, progId, clsid); }));
}

std::int32_t OpxCmnClient::enumComServer(const OpxString& host, bool allCategories,
                                         const std::vector<ServerCategory>& categories,
                                         std::vector<OpxServerIdentifier>& servers) {
    LibT::lInOut("--> CmnClient::enumComServer (node=%ls)", host);
    servers.clear();
    const HRESULT hr = guarded([&] { return enumServers(host, allCategories ? kAllCategories : categories, servers); });
    if (failed(hr)) servers.clear();
    LibT::lInOut("<-- CmnClient::enumComServer [hr=0x%lx]", hr);
    return hr;
}

void OpxCmnClient::setTraceActive(bool active) {
    LibT::setTraceActive(active);
}

bool OpxCmnClient::isTraceActive() {
    return LibT::isTraceActive();
}

std::int32_t OpxCmnClient::initTrace(std::uint32_t level, std::uint32_t lineLimit, std::uint32_t backups,
                                     const OpxString& file, const OpxString& programName) {
    return LibT::initTrace(level, lineLimit, backups, file, programName);
}

std::int32_t OpxCmnClient::initErrorTrace(const OpxString& file, const OpxString& programName) {
    return LibT::initErrorTrace(file, programName);
}

}  // namespace OpxOpc
