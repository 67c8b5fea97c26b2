// A data change that the library itself reports: the items of a subscription whose server is lost.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/CallbackRelay.h"
#include "core/guarded.h"

namespace OpxOpc {

struct ItemReport {
    // False when the client did not take it.
    bool send(std::int32_t masterError) {
        if (!to) return true;
        const OpxDate now = OpxDate::now();
        for (OpxItemValue& value : values) value.timestamp = now;
        const auto count = static_cast<std::uint32_t>(clientHandles.size());
        return succeeded(guarded([&] {
            to->DataChange(group, S_FALSE, masterError, count, clientHandles, values, errors);
            return S_OK;
        }));
    }

    std::shared_ptr<CallbackRelay> to;
    std::uint32_t group = 0;
    std::vector<std::uint32_t> clientHandles;
    std::vector<OpxItemValue> values;
    std::vector<std::int32_t> errors;
};

}  // namespace OpxOpc
