// The sink that a group delivers data changes and asynchronous completions to.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

#include <korvex/native/OpxDataCallback.h>

#include "com/opc_interfaces.h"
#include "opc/ComAsyncTransaction.h"
#include "opc/SinkObject.h"

namespace OpxOpc {

// Advised on one group. Turns what the server delivers into the library's records and tells the client,
// on the server's thread and with no lock held. What the server leaves out or gets wrong costs the item:
//   - a value whose type has no tag becomes the item error 0xC0040004, an item without value E_FAIL;
//   - what the client throws is caught and written to the trace.
//
// A completion of a transaction that nobody registered leaves the completion lock taken: the completions
// that other threads bring to this sink from then on wait for ever, data changes still arrive, and the
// sink is never freed. detach, registerTransaction and removeTransaction do not wait for that lock.
class OpxOPCDataCallback final : public SinkObject<IOPCDataCallback> {
public:
    // `locale` converts the values of asynchronous reads.
    OpxOPCDataCallback(std::shared_ptr<OpxDataCallback> client, LCID locale);

    // From now on no callback is forwarded, but for one that is in the client already, which lives until
    // that has returned.
    void detach();

    // Returns the transaction ID for the server.
    std::uint32_t registerTransaction(std::shared_ptr<ComAsyncTransaction> transaction);
    void removeTransaction(std::uint32_t key);

    HRESULT STDMETHODCALLTYPE OnDataChange(DWORD transactionId, OPCHANDLE group, HRESULT masterQuality,
                                           HRESULT masterError, DWORD count, OPCHANDLE* clientItems, VARIANT* values,
                                           WORD* qualities, FILETIME* timestamps, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnReadComplete(DWORD transactionId, OPCHANDLE group, HRESULT masterQuality,
                                             HRESULT masterError, DWORD count, OPCHANDLE* clientItems, VARIANT* values,
                                             WORD* qualities, FILETIME* timestamps, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnWriteComplete(DWORD transactionId, OPCHANDLE group, HRESULT masterError, DWORD count,
                                              OPCHANDLE* clientItems, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnCancelComplete(DWORD transactionId, OPCHANDLE group) override;

private:
    ~OpxOPCDataCallback() override;

    std::shared_ptr<OpxDataCallback> client() const;
    std::shared_ptr<ComAsyncTransaction> findTransaction(std::uint32_t key) const;
    std::shared_ptr<ComAsyncTransaction> claimTransaction(std::uint32_t key);

    const LCID locale_;

    // Taken by a completion while it looks for its transaction.
    std::recursive_mutex completionLock_;
    std::atomic<bool> completionLockLost_ = false;

    // Guards what follows; held for moments only.
    mutable std::mutex stateLock_;
    std::shared_ptr<OpxDataCallback> client_;
    std::map<std::uint32_t, std::shared_ptr<ComAsyncTransaction>> transactions_;
};

}  // namespace OpxOpc
