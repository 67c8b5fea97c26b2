// The common part of a group's interfaces.
#pragma once

#include "sim/com/CompositeObject.h"
#include "sim/group/Group.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

template <typename Interface>
class GroupFacet : public Facet<Interface> {
public:
    GroupFacet(CompositeObject& owner, Group& group) noexcept : Facet<Interface>(owner), group_(group) {}

protected:
    Group& group() const noexcept { return group_; }

    // serve() for methods that fail on a removed group.
    template <typename Outputs, typename Body>
    HRESULT serveGroup(const char* method, const std::string& arguments, const Outputs& outputs, const Body& body) {
        return serve(method, arguments, outputs, [&]() -> HRESULT { return group_.isRemoved() ? E_FAIL : body(); });
    }

    // Does `work(i, item)` for each handle and hands its results to the caller; an unknown handle
    // is its own result.
    template <typename Work>
    HRESULT forEachItem(DWORD count, const OPCHANDLE* handles, HRESULT** errors, const Work& work) const {
        if (count == 0 || !handles) return E_INVALIDARG;
        Results<HRESULT> results(count);
        for (DWORD i = 0; i < count; ++i) {
            const auto item = group_.item(handles[i]);
            results[i] = item ? work(i, *item) : OPC_E_INVALIDHANDLE;
        }
        const HRESULT overall = overallResult(results);
        results.give(errors);
        return overall;
    }

private:
    Group& group_;
};

}  // namespace Korvex::Simulation
