// One asynchronous read or write that waits for its completion.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include <korvex/native/OpxVType.h>

namespace OpxOpc {

// Keeps of an asynchronous call all that its completion needs to be told to the client. Filled by one thread, then
// read-only.
class ComAsyncTransaction {
public:
    struct Item {
        Opx::VType requestedType;
        std::uint32_t clientHandle;
    };

    // `types` and `clientHandles` are indexed by an item's position in the request; `positions` tells
    // the position of each item handle that the server knows.
    ComAsyncTransaction(std::uint32_t clientTransactionId, std::map<std::uint32_t, std::uint32_t> positions,
                        std::vector<Opx::VType> types, std::vector<std::uint32_t> clientHandles);
    ~ComAsyncTransaction();
    ComAsyncTransaction(const ComAsyncTransaction&) = delete;
    ComAsyncTransaction& operator=(const ComAsyncTransaction&) = delete;

    // The transaction ID for the server: never 0, and no other living record has it.
    std::uint32_t key() const noexcept { return key_; }

    // The transaction ID to report to the client.
    std::uint32_t clientTransactionId() const noexcept { return clientTransactionId_; }

    // Nothing for a handle that is not of this request.
    std::optional<Item> find(std::uint32_t itemHandle) const;

private:
    const std::uint32_t key_;
    const std::uint32_t clientTransactionId_;
    const std::map<std::uint32_t, std::uint32_t> positions_;
    const std::vector<Opx::VType> types_;
    const std::vector<std::uint32_t> clientHandles_;
};

}  // namespace OpxOpc
