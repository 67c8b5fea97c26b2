#include "opc/callbacks/CallbackRecords.h"

#include <optional>

#include "trace/LibT.h"

namespace OpxOpc {
namespace {

// Tells the client to look at the items' codes; a failure of the whole says more and stays.
void markItemErrors(CallbackRecords& records) {
    if (succeeded(records.masterError)) records.masterError = S_FALSE;
}

void dropErrorsUnlessMarked(CallbackRecords& records) {
    if (records.masterError != S_FALSE) records.errors.clear();
}

// Where some items of a call have failed and the server leaves out which, none of them can be trusted.
HRESULT codeUnlessTold(HRESULT code, const HRESULT* told, HRESULT masterError) {
    return !told && succeeded(code) && masterError == S_FALSE ? E_FAIL : code;
}

HRESULT takeChangedItem(const DeliveredItem& item, CallbackRecords& records, OpxItemValue& out) {
    if (failed(item.code)) return item.code;

    const HRESULT taken = isEmptyButGood(item) ? OPC_E_BADTYPE : takeValue(item, out.value);
    if (succeeded(taken)) out.quality = item.quality;
    out.timestamp = timeOf(item);
    if (!isGood(item.quality)) records.masterQuality = S_FALSE;
    return failed(taken) ? taken : item.code;
}

// The item that a completion names; its client handle goes into the records, or the item's error.
std::optional<ComAsyncTransaction::Item> translateItem(const ComAsyncTransaction& transaction,
                                                       const OPCHANDLE* itemHandles, DWORD i,
                                                       CallbackRecords& records) {
    const auto item = transaction.find(itemHandles[i]);
    if (item) {
        records.clientHandles[i] = item->clientHandle;
        return item;
    }
    LibT::lError("Error: OPCDataCallback::OnReadComplete - can not find handle");
    records.errors[i] = OPC_E_INVALIDHANDLE;
    markItemErrors(records);
    return item;
}

HRESULT takeReadItem(const DeliveredItem& item, Opx::VType requestedType, LCID locale, OpxItemValue& out) {
    const VARTYPE requested = isGood(item.quality) ? requestedVarType(requestedType) : VARTYPE(VT_EMPTY);
    const HRESULT taken = takeValueAs(requested, locale, item, out.value);
    out.quality = item.quality;
    out.timestamp = timeOf(item);
    return failed(taken) ? taken : item.code;
}

}  // namespace

CallbackRecords dataChangeRecords(HRESULT masterQuality, HRESULT masterError, DWORD count, const OPCHANDLE* clientItems,
                                  const DeliveredArrays& items) {
    if (!clientItems) count = 0;
    CallbackRecords records(count);
    records.masterQuality = masterQuality;
    records.masterError = masterError;
    records.clientHandles.assign(clientItems, clientItems + count);

    if (succeeded(masterError)) {
        for (DWORD i = 0; i < count; ++i) {
            DeliveredItem item = items[i];
            item.code = codeUnlessTold(item.code, items.codes, masterError);
            records.errors[i] = takeChangedItem(item, records, records.values[i]);
            if (records.errors[i] < 0) markItemErrors(records);
        }
    }
    dropErrorsUnlessMarked(records);
    return records;
}

CallbackRecords readRecords(const ComAsyncTransaction& transaction, LCID locale, HRESULT masterQuality,
                            HRESULT masterError, DWORD count, const OPCHANDLE* itemHandles,
                            const DeliveredArrays& items) {
    if (!itemHandles) count = 0;
    CallbackRecords records(count);
    records.masterQuality = masterQuality;
    records.masterError = masterError;
    for (DWORD i = 0; i < count; ++i) {
        const auto item = translateItem(transaction, itemHandles, i, records);
        if (!item) continue;
        const DeliveredItem delivered = items[i];
        records.errors[i] = codeUnlessTold(delivered.code, items.codes, masterError);
        if (!items.values || !items.qualities) markItemErrors(records);
        if (failed(masterError) || failed(records.errors[i])) continue;
        records.errors[i] = takeReadItem(delivered, item->requestedType, locale, records.values[i]);
        if (records.errors[i] < 0) markItemErrors(records);
    }
    return records;
}

CallbackRecords writeRecords(const ComAsyncTransaction& transaction, HRESULT masterError, DWORD count,
                             const OPCHANDLE* itemHandles, const HRESULT* errors) {
    if (!itemHandles) count = 0;
    CallbackRecords records(count);
    records.masterError = masterError;
    if (succeeded(masterError)) {
        for (DWORD i = 0; i < count; ++i) {
            records.errors[i] = codeUnlessTold(errors ? errors[i] : S_OK, errors, masterError);
            translateItem(transaction, itemHandles, i, records);
        }
    }
    dropErrorsUnlessMarked(records);
    return records;
}

}  // namespace OpxOpc
