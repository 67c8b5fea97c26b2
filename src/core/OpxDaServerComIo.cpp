// The engine's reads and writes, which all go through the group "Main".
#include <exception>
#include <map>
#include <utility>

#include "core/CallFrame.h"
#include "core/OpxDaServerCom.h"
#include "core/guarded.h"
#include "core/item_handles.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

using Types = std::vector<Opx::VType>;

// The accepted items of a request, with the place of each in it.
struct AcceptedItems {
    std::vector<std::size_t> positions;
    std::vector<std::uint32_t> handles;
    Types types;

    AcceptedItems(const ResolvedItems& resolved, const Types& typesOfAll) {
        for (std::size_t i = 0; i < typesOfAll.size(); ++i) {
            if (!resolved.isValid(i)) continue;
            positions.push_back(i);
            handles.push_back(resolved.serverHandles[i]);
            types.push_back(typesOfAll[i]);
        }
    }
};

Types requestedTypes(const Items& items) {
    Types types;
    types.reserve(items.size());
    for (const OpxItemIdentifier& item : items) types.push_back(item.dataType);
    return types;
}

// The codes that the server gave to the items it was asked for, at their places in the request; empty
// when it gave none.
Codes spread(const Codes& errors, const AcceptedItems& accepted, std::size_t count) {
    Codes result;
    if (errors.empty()) return result;
    result.resize(count);
    for (std::size_t n = 0; n < accepted.positions.size() && n < errors.size(); ++n) {
        result[accepted.positions[n]] = errors[n];
    }
    return result;
}

void mergeErrors(const Codes& refused, Codes& errors) {
    if (errors.empty()) {
        errors = refused;
        return;
    }
    for (std::size_t i = 0; i < refused.size() && i < errors.size(); ++i) {
        if (refused[i] < 0) errors[i] = refused[i];
    }
}

// A request from its items to its codes: `call` is made with the items that the server knows, and
// answers their codes.
template <typename Call>
HRESULT withServerItems(const ServerLink& link, Items& items, Codes& errors, Call&& call) {
    errors.clear();
    ResolvedItems resolved(items.size());
    const HRESULT checked = checkHandles(link, items, resolved);
    if (failed(checked)) return checked;
    HRESULT hr = checked;
    if (resolved.anyValid) {
        hr = call(resolved, errors);
        if (failed(hr)) return hr;
    }
    if (checked != S_FALSE) return hr;
    mergeErrors(resolved.errors, errors);
    return S_FALSE;
}

HRESULT readItems(const ServerLink& link, const ReadRequest& request, const ReadAnswer& answer) {
    const Types types = requestedTypes(request.items);
    answer.values.assign(request.items.size(), OpxItemValue());
    return withServerItems(link, request.items, answer.errors, [&](const ResolvedItems& resolved, Codes& codes) {
        const AcceptedItems accepted(resolved, types);
        Values answered;
        Codes answeredCodes;
        const HRESULT hr =
            link.mainGroup->read(request.maxAge, accepted.handles, accepted.types, answered, answeredCodes);
        if (failed(hr)) return hr;
        for (std::size_t n = 0; n < accepted.positions.size() && n < answered.size(); ++n) {
            answer.values[accepted.positions[n]] = std::move(answered[n]);
        }
        codes = spread(answeredCodes, accepted, request.items.size());
        return hr;
    });
}

std::vector<OpxVariant> valuesToSend(const AcceptedItems& accepted, const Values& values) {
    try {
        std::vector<OpxVariant> sent;
        sent.reserve(accepted.positions.size());
        for (const std::size_t position : accepted.positions) sent.push_back(values[position].value);
        return sent;
    } catch (const std::exception&) {
        LibT::lError("Error: DaServerCom::write - Error at setting data types");
        throw;
    }
}

HRESULT writeItems(const ServerLink& link, const WriteRequest& request, Codes& errors) {
    return withServerItems(link, request.items, errors, [&](const ResolvedItems& resolved, Codes& codes) {
        const AcceptedItems accepted(resolved, resolved.canonicalTypes);
        Codes answeredCodes;
        const HRESULT hr = link.mainGroup->write(accepted.handles, valuesToSend(accepted, request.values),
                                                 accepted.types, answeredCodes);
        if (succeeded(hr)) codes = spread(answeredCodes, accepted, request.items.size());
        return hr;
    });
}

// The record for the completion. Of an item that is named twice the last one counts.
std::shared_ptr<ComAsyncTransaction> transactionFor(std::uint32_t clientTransaction, const Items& items,
                                                    const ResolvedItems& resolved, Types types) {
    std::map<std::uint32_t, std::uint32_t> positions;
    std::vector<std::uint32_t> clientHandles;
    for (std::size_t i = 0; i < items.size(); ++i) {
        clientHandles.push_back(items[i].clientHandle);
        if (resolved.isValid(i)) positions[items[i].serverHandle] = static_cast<std::uint32_t>(i);
    }
    return std::make_shared<ComAsyncTransaction>(clientTransaction, std::move(positions), std::move(types),
                                                 std::move(clientHandles));
}

// Starts an asynchronous operation: `start` gets the transaction ID, which the completion may name
// before `start` has returned.
template <typename Start>
HRESULT startTransaction(DaGroupMgt& group, std::shared_ptr<ComAsyncTransaction> transaction, Start&& start) {
    const std::uint32_t key = group.registerTransaction(std::move(transaction));
    if (key == 0) return E_FAIL;
    const HRESULT hr = guarded([&] { return start(key); });
    if (failed(hr)) group.removeTransaction(key);
    return hr;
}

HRESULT startReading(const ServerLink& link, const ReadRequest& request, Codes& errors) {
    const Types types = requestedTypes(request.items);
    return withServerItems(link, request.items, errors, [&](const ResolvedItems& resolved, Codes& codes) {
        const AcceptedItems accepted(resolved, types);
        auto transaction = transactionFor(request.transaction.value_or(0), request.items, resolved, types);
        Codes answeredCodes;
        const HRESULT hr = startTransaction(*link.mainGroup, std::move(transaction), [&](std::uint32_t key) {
            return link.mainGroup->readAsync(key, request.maxAge, accepted.handles, answeredCodes);
        });
        if (succeeded(hr)) codes = spread(answeredCodes, accepted, request.items.size());
        return hr;
    });
}

HRESULT startWriting(const ServerLink& link, const WriteRequest& request, Codes& errors) {
    return withServerItems(link, request.items, errors, [&](const ResolvedItems& resolved, Codes& codes) {
        const AcceptedItems accepted(resolved, resolved.canonicalTypes);
        const auto sent = valuesToSend(accepted, request.values);
        auto transaction =
            transactionFor(request.transaction.value_or(0), request.items, resolved, resolved.canonicalTypes);
        Codes answeredCodes;
        const HRESULT hr = startTransaction(*link.mainGroup, std::move(transaction), [&](std::uint32_t key) {
            return link.mainGroup->writeAsync(key, accepted.handles, sent, accepted.types, answeredCodes);
        });
        if (succeeded(hr)) codes = spread(answeredCodes, accepted, request.items.size());
        return hr;
    });
}

constexpr const char* kNoItems = "[E_INVALIDARG] - item list is empty";
constexpr const char* kDifferentSizes = "[E_INVALIDARG] - value list has different size than item list";

}  // namespace

HRESULT OpxDaServerCom::read(const ReadRequest& request, const ReadAnswer& answer) {
    CallFrame frame(*d_, "DaServerCom::read", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (request.items.empty()) return frame.refuse(kNoItems, E_INVALIDARG);
    return frame.leave(guarded([&] { return readItems(frame.link(), request, answer); }));
}

HRESULT OpxDaServerCom::readAsync(const ReadRequest& request, Codes& errors) {
    CallFrame frame(*d_, "DaServerCom::readAsync", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (request.items.empty()) return frame.refuse(kNoItems, E_INVALIDARG);
    return frame.leave(guarded([&] { return startReading(frame.link(), request, errors); }));
}

HRESULT OpxDaServerCom::write(const WriteRequest& request, Codes& errors) {
    CallFrame frame(*d_, "DaServerCom::write", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (request.items.empty()) return frame.refuse(kNoItems, E_INVALIDARG);
    if (request.items.size() != request.values.size()) return frame.refuse(kDifferentSizes, E_INVALIDARG);
    return frame.leave(guarded([&] { return writeItems(frame.link(), request, errors); }));
}

HRESULT OpxDaServerCom::writeAsync(const WriteRequest& request, Codes& errors) {
    CallFrame frame(*d_, "DaServerCom::writeAsync", CallFrame::Needs::Server);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (request.items.empty()) return frame.refuse(kNoItems, E_INVALIDARG);
    if (request.items.size() != request.values.size()) return frame.refuse(kDifferentSizes, E_INVALIDARG);
    return frame.leave(guarded([&] { return startWriting(frame.link(), request, errors); }));
}

}  // namespace OpxOpc
