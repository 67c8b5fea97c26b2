// Translates the arguments of a group's callbacks into the records that the client gets.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxItemValue.h>

#include "com/opc_interfaces.h"
#include "opc/callbacks/ComAsyncTransaction.h"
#include "opc/callbacks/DeliveredItem.h"

namespace OpxOpc {

// Counts are the server's, but one that comes without the array of handles counts no items.
struct CallbackRecords {
    explicit CallbackRecords(DWORD count) : clientHandles(count), values(count, OpxItemValue()), errors(count) {}

    std::uint32_t count() const noexcept { return static_cast<std::uint32_t>(clientHandles.size()); }

    std::int32_t masterQuality = S_OK;
    std::int32_t masterError = S_OK;
    std::vector<std::uint32_t> clientHandles;
    std::vector<OpxItemValue> values;
    std::vector<std::int32_t> errors;
};

// A data change. Values keep the type they come in. Nothing is converted when `masterError` is a failure;
// `errors` is empty unless it became S_FALSE.
CallbackRecords dataChangeRecords(HRESULT masterQuality, HRESULT masterError, DWORD count, const OPCHANDLE* clientItems,
                                  const DeliveredArrays& items);

// The completion of a read. Good values are converted to the requested types by the rules of `locale`,
// unless `masterError` is a failure. `errors` is complete.
CallbackRecords readRecords(const ComAsyncTransaction& transaction, LCID locale, HRESULT masterQuality,
                            HRESULT masterError, DWORD count, const OPCHANDLE* itemHandles,
                            const DeliveredArrays& items);

// The completion of a write, which carries no values. Nothing is translated when `masterError` is a
// failure; `errors` is empty unless it became S_FALSE.
CallbackRecords writeRecords(const ComAsyncTransaction& transaction, HRESULT masterError, DWORD count,
                             const OPCHANDLE* itemHandles, const HRESULT* errors);

}  // namespace OpxOpc
