// Connection points of objects that call back through one interface.
#pragma once

#include <functional>
#include <string>

#include "sim/com/CompositeObject.h"
#include "sim/com/Enumerator.h"
#include "sim/com/SinkTable.h"

namespace Korvex::Simulation {

// The connection point of an object for `Sink`. It is an object of its own to its clients, but it
// lives as long as its owner, whom its references keep.
template <typename Sink>
class ConnectionPoint final : public IConnectionPoint {
public:
    // `advised` is called after a sink was added.
    ConnectionPoint(CompositeObject& owner, SinkTable<Sink>& sinks, std::function<void()> advised)
        : owner_(owner), sinks_(sinks), advised_(std::move(advised)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override {
        if (!object) return E_POINTER;
        if (riid != IID_IUnknown && riid != IID_IConnectionPoint) return core_.queryMarshaler(this, riid, object);
        *object = static_cast<IConnectionPoint*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return owner_.AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return owner_.Release(); }

    HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
        return serve(method("GetConnectionInterface"), note(), outputs(out(iid)), [&]() -> HRESULT {
            *iid = iidOf<Sink>();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** container) override {
        return serve(method("GetConnectionPointContainer"), note(), outputs(out(container)), [&]() -> HRESULT {
            return owner_.QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(container));
        });
    }

    HRESULT STDMETHODCALLTYPE Advise(IUnknown* client, DWORD* cookie) override {
        return serve(method("Advise"), note(), outputs(out(cookie)), [&]() -> HRESULT {
            if (!client) return E_POINTER;
            Com::ComPtr<Sink> sink;
            if (failed(client->QueryInterface(iidOf<Sink>(), sink.putVoid()))) return CONNECT_E_CANNOTCONNECT;
            *cookie = sinks_.add(std::move(sink));
            advised_();
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
        return serve(method("Unadvise"), note(), outputs(),
                     [&]() -> HRESULT { return sinks_.remove(cookie) ? S_OK : CONNECT_E_NOCONNECTION; });
    }

    HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** enumerator) override {
        return serve(method("EnumConnections"), note(), outputs(out(enumerator)), [&]() -> HRESULT {
            std::vector<Connection> connections;
            for (const auto& [cookie, sink] : sinks_.snapshot()) connections.push_back({sink.get(), cookie});
            *enumerator = makeObject<ConnectionEnumerator>(std::move(connections)).detach();
            return S_OK;
        });
    }

private:
    static std::string method(const char* name) {
        return methodAbout(std::string("IConnectionPoint::").append(name), interfaceName(iidOf<Sink>()));
    }

    CompositeObject& owner_;
    SinkTable<Sink>& sinks_;
    std::function<void()> advised_;
    ObjectCore core_;  // for its marshaler; references are the owner's
};

// The container of an object with one connection point.
template <typename Sink>
class ConnectionPointContainer final : public Facet<IConnectionPointContainer> {
public:
    ConnectionPointContainer(CompositeObject& owner, SinkTable<Sink>& sinks, std::function<void()> advised)
        : Facet<IConnectionPointContainer>(owner), point_(owner, sinks, std::move(advised)) {}

    HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** enumerator) override {
        return serve("IConnectionPointContainer::EnumConnectionPoints", note(), outputs(out(enumerator)),
                     [&]() -> HRESULT {
                         std::vector<Com::ComPtr<IConnectionPoint>> points{Com::ComPtr<IConnectionPoint>(&point_)};
                         *enumerator = makeObject<ConnectionPointEnumerator>(std::move(points)).detach();
                         return S_OK;
                     });
    }

    HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** point) override {
        return serve(methodAbout("IConnectionPointContainer::FindConnectionPoint", interfaceName(riid)), note(),
                     outputs(out(point)), [&]() -> HRESULT {
                         if (riid != iidOf<Sink>()) return CONNECT_E_NOCONNECTION;
                         *point = Com::ComPtr<IConnectionPoint>(&point_).detach();
                         return S_OK;
                     });
    }

private:
    ConnectionPoint<Sink> point_;
};

}  // namespace Korvex::Simulation
