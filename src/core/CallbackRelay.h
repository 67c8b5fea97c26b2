// The way from everything that calls back to the client, which can be cut.
#pragma once

#include <memory>
#include <utility>

#include <korvex/native/OpxDataCallback.h>

#include "com/Mutex.h"

namespace OpxOpc {

// A server may go on calling after it was asked not to. The relay lives as long as anything that calls
// it, and once silenced passes nothing on; a call that is in the client already keeps it alive.
class CallbackRelay final : public OpxDataCallback {
public:
    explicit CallbackRelay(std::shared_ptr<OpxDataCallback> client) : client_(std::move(client)) {}

    void silence() {
        std::shared_ptr<OpxDataCallback> dropped;  // outlives the lock, which its destruction does not need
        const Korvex::ScopedLock guard(lock_);
        dropped.swap(client_);
    }

    void DataChange(std::uint32_t subscription, std::int32_t masterQuality, std::int32_t masterError,
                    std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                    const std::vector<OpxItemValue>& values, const std::vector<std::int32_t>& errors) override {
        if (const auto to = client())
            to->DataChange(subscription, masterQuality, masterError, count, clientHandles, values, errors);
    }
    void ReadComplete(std::uint32_t transaction, std::int32_t masterQuality, std::int32_t masterError,
                      std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                      const std::vector<OpxItemValue>& values, const std::vector<std::int32_t>& errors) override {
        if (const auto to = client())
            to->ReadComplete(transaction, masterQuality, masterError, count, clientHandles, values, errors);
    }
    void WriteComplete(std::uint32_t transaction, std::int32_t masterError, std::uint32_t count,
                       const std::vector<std::uint32_t>& clientHandles,
                       const std::vector<std::int32_t>& errors) override {
        if (const auto to = client()) to->WriteComplete(transaction, masterError, count, clientHandles, errors);
    }
    void ServerStatusChange(std::uint32_t clientHandle, ServerStatus status) override {
        if (const auto to = client()) to->ServerStatusChange(clientHandle, status);
    }

private:
    std::shared_ptr<OpxDataCallback> client() const {
        const Korvex::ScopedLock guard(lock_);
        return client_;
    }

    mutable Korvex::Mutex lock_;
    std::shared_ptr<OpxDataCallback> client_ GUARDED_BY(lock_);
};

}  // namespace OpxOpc
