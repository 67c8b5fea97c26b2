#include "opc/callbacks/OpxOPCDataCallback.h"

#include <utility>

#include "opc/callbacks/CallbackRecords.h"
#include "opc/callbacks/KeptSinks.h"
#include "opc/callbacks/ValueText.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

void traceItem(std::size_t i, const CallbackRecords& records) {
    const bool hasErrors = !records.errors.empty();
    const std::uint32_t clientHandle = records.clientHandles[i];
    if (hasErrors && records.errors[i] < 0) {
        LibT::lDetail("    Item[%d] CH=%d error=0x%lx", i, clientHandle, records.errors[i]);
        return;
    }
    const OpxItemValue& value = records.values[i];
    LibT::lDetail("    Item[%d] CH=%d value=%ls quality=0x%lx TS=%ls", i, clientHandle, valueText(value.value),
                  value.quality, timeText(value.timestamp));
}

void traceParameters(OPCHANDLE group, const CallbackRecords& records) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  Parameters:");
    LibT::lDetail("  ClientSubscriptionHandle = %d", group);
    LibT::lDetail("  Masterquality = %d", records.masterQuality);
    LibT::lDetail("  Mastererror = %d", records.masterError);
    LibT::lDetail("  Value count = %d", records.values.size());
    for (std::size_t i = 0; i < records.values.size(); ++i) traceItem(i, records);
}

// Nothing that a callback throws, the client's own code included, gets into COM.
template <typename Callback>
HRESULT answerServer(TraceFormat<> errorLine, Callback&& callback) noexcept {
    try {
        callback();
    } catch (...) {
        LibT::lError(errorLine);
    }
    return S_OK;
}

}  // namespace

OpxOPCDataCallback::OpxOPCDataCallback(std::shared_ptr<OpxDataCallback> client, LCID locale)
    : locale_(locale), client_(std::move(client)) {
    LibT::lCtor("Ctor OPCDataCallback");
}

OpxOPCDataCallback::~OpxOPCDataCallback() {
    LibT::lCtor("Dtor OPCDataCallback");
}

void OpxOPCDataCallback::detach() {
    std::shared_ptr<OpxDataCallback> dropped;  // outlives the lock, which its destruction does not need
    const Korvex::ScopedLock guard(stateLock_);
    dropped.swap(client_);
}

std::uint32_t OpxOPCDataCallback::registerTransaction(std::shared_ptr<ComAsyncTransaction> transaction) {
    const std::uint32_t key = transaction->key();
    const Korvex::ScopedLock guard(stateLock_);
    transactions_[key] = std::move(transaction);
    keys_.add(key);
    return key;
}

void OpxOPCDataCallback::removeTransaction(std::uint32_t key) {
    takeTransaction(key);
}

std::shared_ptr<OpxDataCallback> OpxOPCDataCallback::client() const {
    const Korvex::ScopedLock guard(stateLock_);
    return client_;
}

// In one step: of several that come for it at once, one gets it.
std::shared_ptr<ComAsyncTransaction> OpxOPCDataCallback::takeTransaction(std::uint32_t key) {
    const Korvex::ScopedLock guard(stateLock_);
    auto taken = transactions_.extract(key);
    return taken ? std::move(taken.mapped()) : nullptr;
}

bool OpxOPCDataCallback::wasRegistered(std::uint32_t key) const {
    const Korvex::ScopedLock guard(stateLock_);
    return keys_.contains(key);
}

// For a transaction that never was one the completion lock stays taken, on purpose, and the sink with it: the analysis
// wants a lock to end as it began on every path.
std::shared_ptr<ComAsyncTransaction> OpxOPCDataCallback::claimTransaction(std::uint32_t key) NO_THREAD_SAFETY_ANALYSIS {
    completionLock_.lock();
    auto transaction = takeTransaction(key);
    if (transaction || wasRegistered(key)) {
        completionLock_.unlock();
    } else if (!completionLockLost_.exchange(true)) {
        keepForever(this);
    }
    return transaction;
}

HRESULT STDMETHODCALLTYPE OpxOPCDataCallback::OnDataChange(DWORD, OPCHANDLE group, HRESULT masterQuality,
                                                           HRESULT masterError, DWORD count, OPCHANDLE* clientItems,
                                                           VARIANT* values, WORD* qualities, FILETIME* timestamps,
                                                           HRESULT* errors) {
    return answerServer("Error: OPCDataCallback::OnDataChange - Unexpected Error", [&] {
        LibT::lIfCall("==> OPCDataCallback::OnDataChange (%d items)", count);
        if (!client()) {
            LibT::lIfCall("<== OPCDataCallback::OnDataChange - callback pointer is NULL");
            return;
        }

        const CallbackRecords records =
            dataChangeRecords(masterQuality, masterError, count, clientItems, {values, qualities, timestamps, errors});
        traceParameters(group, records);

        if (const auto receiver = client()) {
            LibT::lIfCall("CALL DataChange");
            receiver->DataChange(group, records.masterQuality, records.masterError, records.count(),
                                 records.clientHandles, records.values, records.errors);
            LibT::lIfCall("DONE DataChange");
        }
        LibT::lIfCall("<== OPCDataCallback::OnDataChange [hr=S_OK]");
    });
}

HRESULT STDMETHODCALLTYPE OpxOPCDataCallback::OnReadComplete(DWORD transactionId, OPCHANDLE, HRESULT masterQuality,
                                                             HRESULT masterError, DWORD count, OPCHANDLE* clientItems,
                                                             VARIANT* values, WORD* qualities, FILETIME* timestamps,
                                                             HRESULT* errors) {
    return answerServer("Error: OPCDataCallback::OnReadComplete - Unexpected Error", [&] {
        LibT::lIfCall("==> OPCDataCallback::OnReadComplete (%d items)", count);
        if (!client()) {
            LibT::lIfCall("<== OPCDataCallback::OnReadComplete - callback pointer is NULL");
            return;
        }
        auto transaction = claimTransaction(transactionId);
        if (!transaction) {
            LibT::lIfCall("<== OPCDataCallback::OnReadComplete - can not find transaction");
            return;
        }

        const CallbackRecords records = readRecords(*transaction, locale_, masterQuality, masterError, count,
                                                    clientItems, {values, qualities, timestamps, errors});
        const std::uint32_t clientId = transaction->clientTransactionId();
        transaction.reset();

        if (const auto receiver = client()) {
            LibT::lIfCall("CALL ReadComplete");
            receiver->ReadComplete(clientId, records.masterQuality, records.masterError, records.count(),
                                   records.clientHandles, records.values, records.errors);
            LibT::lIfCall("DONE ReadComplete");
        }
        LibT::lIfCall("<== OPCDataCallback::OnReadComplete [hr=S_OK]");
    });
}

HRESULT STDMETHODCALLTYPE OpxOPCDataCallback::OnWriteComplete(DWORD transactionId, OPCHANDLE, HRESULT masterError,
                                                              DWORD count, OPCHANDLE* clientItems, HRESULT* errors) {
    return answerServer("Error: OPCDataCallback::OnWriteComplete - Unexpected Error", [&] {
        LibT::lIfCall("==> OPCDataCallback::OnWriteComplete (%d items)", count);
        if (!client()) {
            LibT::lIfCall("<== OPCDataCallback::OnWriteComplete - callback pointer is NULL");
            return;
        }
        auto transaction = claimTransaction(transactionId);
        if (!transaction) {
            LibT::lIfCall("<== OPCDataCallback::OnWriteComplete - can not find transaction");
            return;
        }

        const CallbackRecords records = writeRecords(*transaction, masterError, count, clientItems, errors);
        const std::uint32_t clientId = transaction->clientTransactionId();
        transaction.reset();

        if (const auto receiver = client()) {
            LibT::lIfCall("CALL WriteComplete");
            receiver->WriteComplete(clientId, records.masterError, records.count(), records.clientHandles,
                                    records.errors);
            LibT::lIfCall("DONE WriteComplete");
        }
        LibT::lIfCall("<== OPCDataCallback::OnWriteComplete [hr=S_OK]");
    });
}

HRESULT STDMETHODCALLTYPE OpxOPCDataCallback::OnCancelComplete(DWORD, OPCHANDLE) {
    return S_OK;
}

}  // namespace OpxOpc
