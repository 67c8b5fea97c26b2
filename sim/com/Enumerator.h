// The standard enumerators over a list that was taken when the enumerator was made.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "com/hosting/ProcessHold.h"
#include "sim/com/ComClass.h"
#include "sim/com/Results.h"
#include "sim/com/interface_names.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

// How one element is handed to the caller, who owns what comes out.
inline LPOLESTR handOut(const OpxString& text) {
    return giveText(text);
}
template <typename Interface>
Interface* handOut(const Com::ComPtr<Interface>& pointer) {
    return Com::ComPtr<Interface>(pointer).detach();
}

struct Connection {
    Com::ComPtr<IUnknown> sink;
    DWORD cookie;
};
inline CONNECTDATA handOut(const Connection& connection) {
    return {handOut(connection.sink), connection.cookie};
}

template <typename Interface, typename Element, typename Raw>
class Enumerator final : public ComClass<Interface> {
public:
    explicit Enumerator(std::vector<Element> elements, std::size_t position = 0)
        : elements_(std::move(elements)), position_(position) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Raw* out, ULONG* fetched) override {
        if (fetched) *fetched = 0;
        return serve(method("Next"), note("count", count), outputs(), [&]() -> HRESULT {
            if (!out || (!fetched && count != 1)) return E_INVALIDARG;
            const std::size_t given = std::min<std::size_t>(count, elements_.size() - position_);
            for (std::size_t i = 0; i < given; ++i) out[i] = handOut(elements_[position_++]);
            if (fetched) *fetched = static_cast<ULONG>(given);
            return given == count ? S_OK : S_FALSE;
        });
    }

    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        return serve(method("Skip"), note("count", count), outputs(), [&]() -> HRESULT {
            const std::size_t skipped = std::min<std::size_t>(count, elements_.size() - position_);
            position_ += skipped;
            return skipped == count ? S_OK : S_FALSE;
        });
    }

    HRESULT STDMETHODCALLTYPE Reset() override {
        return serve(method("Reset"), note(), outputs(), [&]() -> HRESULT {
            position_ = 0;
            return S_OK;
        });
    }

    HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
        return serve(method("Clone"), note(), outputs(out(clone)), [&]() -> HRESULT {
            *clone = makeObject<Enumerator>(elements_, position_).detach();
            return S_OK;
        });
    }

private:
    static std::string method(const char* name) { return interfaceName(iidOf<Interface>()) + "::" + name; }

    Com::ProcessHold hold_;
    std::vector<Element> elements_;
    std::size_t position_;
};

using StringEnumerator = Enumerator<IEnumString, OpxString, LPOLESTR>;
using UnknownEnumerator = Enumerator<IEnumUnknown, Com::ComPtr<IUnknown>, IUnknown*>;
using ConnectionPointEnumerator = Enumerator<IEnumConnectionPoints, Com::ComPtr<IConnectionPoint>, IConnectionPoint*>;
using ConnectionEnumerator = Enumerator<IEnumConnections, Connection, CONNECTDATA>;

}  // namespace Korvex::Simulation
