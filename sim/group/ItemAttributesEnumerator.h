// IEnumOPCItemAttributes over the items that a group had when the enumerator was made.
#pragma once

#include <map>
#include <utility>
#include <vector>

#include "sim/com/ComClass.h"
#include "sim/group/GroupItem.h"

namespace Korvex::Simulation {

class ItemAttributesEnumerator final : public ComClass<IEnumOPCItemAttributes> {
public:
    explicit ItemAttributesEnumerator(const std::map<OPCHANDLE, GroupItem>& items)
        : items_(items.begin(), items.end()) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, OPCITEMATTRIBUTES** attributes, ULONG* fetched) override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override;
    HRESULT STDMETHODCALLTYPE Reset() override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumOPCItemAttributes** clone) override;

private:
    std::size_t left() const noexcept { return items_.size() - position_; }

    std::vector<std::pair<OPCHANDLE, GroupItem>> items_;
    std::size_t position_ = 0;
};

}  // namespace Korvex::Simulation
