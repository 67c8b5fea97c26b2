// The sink that a group delivers data changes and asynchronous completions to.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>

#include <korvex/native/OpxDataCallback.h>

#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "opc/callbacks/ComAsyncTransaction.h"
#include "opc/callbacks/SinkObject.h"

namespace OpxOpc {

// Advised on one group. Turns what the server delivers into the library's records and tells the client,
// on the server's thread and with no lock held. What the server leaves out or gets wrong costs the item:
//   - a value whose type has no tag becomes the item error 0xC0040004, an item without value E_FAIL;
//   - what the client throws is caught and written to the trace.
//
// A transaction is told once, whatever the server repeats. A completion of one that nobody registered
// leaves the completion lock taken: the completions that other threads bring to this sink from then on
// wait for ever, data changes still arrive, and the sink is never freed. detach, registerTransaction and
// removeTransaction do not wait for that lock.
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
    // The keys that were registered, from the lowest to the highest, which may have passed 0 meanwhile. One
    // in between that another sink registered counts as well: remembering each would take ever more memory.
    class Keys {
    public:
        void add(std::uint32_t key) noexcept {
            if (isEmpty_ || isBefore(key, first_)) first_ = key;
            if (isEmpty_ || isBefore(last_, key)) last_ = key;
            isEmpty_ = false;
        }
        bool contains(std::uint32_t key) const noexcept { return !isEmpty_ && key - first_ <= last_ - first_; }

    private:
        static bool isBefore(std::uint32_t a, std::uint32_t b) noexcept { return static_cast<std::int32_t>(a - b) < 0; }

        std::uint32_t first_ = 0;
        std::uint32_t last_ = 0;
        bool isEmpty_ = true;
    };

    ~OpxOPCDataCallback() override;

    std::shared_ptr<OpxDataCallback> client() const;
    std::shared_ptr<ComAsyncTransaction> takeTransaction(std::uint32_t key);
    bool wasRegistered(std::uint32_t key) const;
    std::shared_ptr<ComAsyncTransaction> claimTransaction(std::uint32_t key);

    const LCID locale_;

    // Taken by a completion while it looks for its transaction.
    Korvex::RecursiveMutex completionLock_;
    std::atomic<bool> completionLockLost_ = false;

    // Guards what follows; held for moments only.
    mutable Korvex::Mutex stateLock_;
    std::shared_ptr<OpxDataCallback> client_ GUARDED_BY(stateLock_);
    std::map<std::uint32_t, std::shared_ptr<ComAsyncTransaction>> transactions_ GUARDED_BY(stateLock_);
    Keys keys_ GUARDED_BY(stateLock_);
};

}  // namespace OpxOpc
