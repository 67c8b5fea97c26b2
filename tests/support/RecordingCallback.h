// A client that remembers what it is told.
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include <korvex/native/OpxDataCallback.h>

namespace Korvex::Testing {

// May be called by any number of threads.
class RecordingCallback : public OpxOpc::OpxDataCallback {
public:
    struct Items {
        std::uint32_t id;  // of the subscription or the transaction
        std::int32_t masterQuality;
        std::int32_t masterError;
        std::uint32_t count;
        std::vector<std::uint32_t> clientHandles;
        std::vector<OpxOpc::OpxItemValue> values;
        std::vector<std::int32_t> errors;
    };
    struct Status {
        std::uint32_t clientHandle;
        OpxOpc::ServerStatus status;
    };

    // A call that a disconnect overtook may still be on its way out.
    ~RecordingCallback() override { const std::lock_guard guard(lock_); }

    void DataChange(std::uint32_t subscription, std::int32_t masterQuality, std::int32_t masterError,
                    std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                    const std::vector<OpxOpc::OpxItemValue>& values, const std::vector<std::int32_t>& errors) override {
        record(dataChanges_, {subscription, masterQuality, masterError, count, clientHandles, values, errors});
    }
    void ReadComplete(std::uint32_t transaction, std::int32_t masterQuality, std::int32_t masterError,
                      std::uint32_t count, const std::vector<std::uint32_t>& clientHandles,
                      const std::vector<OpxOpc::OpxItemValue>& values,
                      const std::vector<std::int32_t>& errors) override {
        record(reads_, {transaction, masterQuality, masterError, count, clientHandles, values, errors});
    }
    void WriteComplete(std::uint32_t transaction, std::int32_t masterError, std::uint32_t count,
                       const std::vector<std::uint32_t>& clientHandles,
                       const std::vector<std::int32_t>& errors) override {
        record(writes_, {transaction, 0, masterError, count, clientHandles, {}, errors});
    }
    void ServerStatusChange(std::uint32_t clientHandle, OpxOpc::ServerStatus status) override {
        record(statuses_, {clientHandle, status});
    }

    std::vector<Items> dataChanges() const { return copyOf(dataChanges_); }
    std::vector<Items> reads() const { return copyOf(reads_); }
    std::vector<Items> writes() const { return copyOf(writes_); }
    std::vector<Status> statuses() const { return copyOf(statuses_); }

    // Whether that many have come before five seconds are over.
    bool waitForDataChanges(std::size_t count) const { return waitFor(dataChanges_, count); }
    template <typename Predicate>
    bool waitForDataChange(Predicate isWanted) const {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, std::chrono::seconds(5),
                                 [&] { return std::any_of(dataChanges_.begin(), dataChanges_.end(), isWanted); });
    }
    bool waitForReads(std::size_t count) const { return waitFor(reads_, count); }
    bool waitForWrites(std::size_t count) const { return waitFor(writes_, count); }
    bool waitForStatuses(std::size_t count) const { return waitFor(statuses_, count); }

private:
    template <typename T>
    void record(std::vector<T>& list, T entry) {
        const std::lock_guard guard(lock_);
        list.push_back(std::move(entry));
        changed_.notify_all();
    }
    template <typename T>
    std::vector<T> copyOf(const std::vector<T>& list) const {
        const std::lock_guard guard(lock_);
        return list;
    }
    template <typename T>
    bool waitFor(const std::vector<T>& list, std::size_t count) const {
        std::unique_lock guard(lock_);
        return changed_.wait_for(guard, std::chrono::seconds(5), [&] { return list.size() >= count; });
    }

    mutable std::mutex lock_;
    mutable std::condition_variable changed_;
    std::vector<Items> dataChanges_;
    std::vector<Items> reads_;
    std::vector<Items> writes_;
    std::vector<Status> statuses_;
};

}  // namespace Korvex::Testing
