// The parts of korvex/client.h that no application names.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

namespace Korvex::detail {

/// Calls one handler, and knows which threads are inside it.
class Receiver {
public:
    using Items = std::vector<OPC::OpcDaClient::ItemValueCallback>;
    using Handler = std::function<void(const Items&)>;

    Receiver(std::int32_t number, Handler handler) : number_(number), handler_(std::move(handler)) {}

    std::int32_t number() const noexcept { return number_; }

    void call(const Items& items) {
        const Inside inside(*this);
        if (inside.isAdmitted()) handler_(items);
    }

    /// From now on no call begins; waits for those of other threads.
    void close() noexcept {
        std::unique_lock guard(lock_);
        closed_ = true;
        const auto self = std::this_thread::get_id();
        left_.wait(guard,
                   [&] { return std::all_of(callers_.begin(), callers_.end(), [&](auto c) { return c == self; }); });
    }

private:
    class Inside {
    public:
        explicit Inside(Receiver& receiver) : receiver_(receiver) {
            const std::lock_guard guard(receiver.lock_);
            admitted_ = !receiver.closed_;
            if (admitted_) receiver.callers_.push_back(std::this_thread::get_id());
        }
        ~Inside() {
            if (!admitted_) return;
            const std::lock_guard guard(receiver_.lock_);
            auto& callers = receiver_.callers_;
            callers.erase(std::find(callers.begin(), callers.end(), std::this_thread::get_id()));
            receiver_.left_.notify_all();
        }
        Inside(const Inside&) = delete;
        Inside& operator=(const Inside&) = delete;
        bool isAdmitted() const noexcept { return admitted_; }

    private:
        Receiver& receiver_;
        bool admitted_ = false;
    };

    const std::int32_t number_;
    const Handler handler_;
    std::mutex lock_;
    std::condition_variable left_;
    std::vector<std::thread::id> callers_;
    bool closed_ = false;
};

/// A read or write that has not completed yet.
class Pending {
public:
    using ReadItems = OPC::OpcDaClient::NullableArray<OPC::OpcDaClient::ItemValueCallback>;
    using WriteItems = OPC::OpcDaClient::NullableArray<OPC::OpcDaClient::ItemResultCallback>;

    virtual ~Pending() = default;
    virtual void complete(const ReadItems& items) = 0;
    virtual void complete(const WriteItems& items) = 0;
    virtual void fail(const OPC::OpcDaClient::ResultID& result) = 0;
};

template <typename Answer>
class PendingCall final : public Pending {
public:
    using Identifiers = OPC::OpcDaClient::NullableArray<OPC::OpcDaClient::ItemIdentifier>;

    template <typename Fill>
    PendingCall(const std::vector<std::string>& names, Fill fill) : answers_(names.size()) {
        for (std::size_t i = 0; i < names.size(); ++i) answers_[i].name = names[i];
        if constexpr (std::is_invocable_v<Fill, Answer&, const OPC::OpcDaClient::ItemValueCallback&>) fillValue_ = fill;
        if constexpr (std::is_invocable_v<Fill, Answer&, const OPC::OpcDaClient::ItemResultCallback&>)
            fillResult_ = fill;
    }

    std::future<std::vector<Answer>> future() { return promise_.get_future(); }

    /// The call has returned. True if nothing else is to come, since all items were refused.
    bool begun(const Identifiers& items) {
        const std::lock_guard guard(lock_);
        std::size_t refused = 0;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (items[i].ResultID().Succeeded()) continue;
            answers_[i].result = items[i].ResultID();
            ++refused;
        }
        begun_ = true;
        if (refused == items.size()) completed_ = true;
        answerWhenDone();
        return refused == items.size();
    }

    void complete(const ReadItems& items) override { take(items, fillValue_); }
    void complete(const WriteItems& items) override { take(items, fillResult_); }

    void fail(const OPC::OpcDaClient::ResultID& result) override {
        const std::lock_guard guard(lock_);
        if (std::exchange(answered_, true)) return;
        promise_.set_exception(std::make_exception_ptr(OPC::OpcDaClient::OPCException(result)));
    }

private:
    template <typename Items, typename Fill>
    void take(const Items& items, const Fill& fill) {
        if (items.isNull()) return fail(OPC::OpcDaClient::ResultID::WIN_E_FAIL);
        const std::lock_guard guard(lock_);
        for (const auto& item : items.value()) {
            const auto* const place = item.ClientHandle().template tryGet<std::int32_t>();
            if (place) fill(answers_.at(static_cast<std::size_t>(*place)), item);
        }
        completed_ = true;
        answerWhenDone();
    }

    /// The completion may come before the call returns.
    void answerWhenDone() {
        if (begun_ && completed_ && !std::exchange(answered_, true)) promise_.set_value(std::move(answers_));
    }

    std::function<void(Answer&, const OPC::OpcDaClient::ItemValueCallback&)> fillValue_;
    std::function<void(Answer&, const OPC::OpcDaClient::ItemResultCallback&)> fillResult_;
    std::mutex lock_;
    std::promise<std::vector<Answer>> promise_;
    std::vector<Answer> answers_;
    bool begun_ = false;
    bool completed_ = false;
    bool answered_ = false;
};

/// Brings events to those who wait for them. Events hold it, and not the connection.
class Dispatch {
public:
    std::shared_ptr<Receiver> addReceiver(Receiver::Handler handler) {
        const std::lock_guard guard(lock_);
        const std::int32_t number = ++lastNumber_;
        return receivers_[number] = std::make_shared<Receiver>(number, std::move(handler));
    }

    void removeReceiver(Receiver& receiver) noexcept {
        receiver.close();
        const std::lock_guard guard(lock_);
        receivers_.erase(receiver.number());
    }

    std::int32_t addPending(std::shared_ptr<Pending> pending) {
        const std::lock_guard guard(lock_);
        pending_[++lastNumber_] = std::move(pending);
        return lastNumber_;
    }

    std::shared_ptr<Pending> removePending(std::int32_t transaction) {
        const std::lock_guard guard(lock_);
        const auto taken = pending_.extract(transaction);
        return taken ? taken.mapped() : nullptr;
    }

    void changed(std::int32_t number, const Receiver::Items& items) {
        std::shared_ptr<Receiver> receiver;
        {
            const std::lock_guard guard(lock_);
            if (const auto found = receivers_.find(number); found != receivers_.end()) receiver = found->second;
        }
        if (receiver) receiver->call(items);
    }

    template <typename Items>
    void completed(std::int32_t transaction, const Items& items) {
        if (const auto pending = removePending(transaction)) pending->complete(items);
    }

    /// No completion comes over a connection that is lost.
    void lost() {
        std::map<std::int32_t, std::shared_ptr<Pending>> dropped;
        {
            const std::lock_guard guard(lock_);
            dropped.swap(pending_);
        }
        for (const auto& [transaction, pending] : dropped) {
            pending->fail(OPC::OpcDaClient::ResultID::WIN_RPC_S_SERVER_UNAVAILABLE);
        }
    }

    void closeReceivers() noexcept {
        std::map<std::int32_t, std::shared_ptr<Receiver>> closed;
        {
            const std::lock_guard guard(lock_);
            closed.swap(receivers_);
        }
        for (const auto& [number, receiver] : closed) receiver->close();
    }

private:
    std::mutex lock_;
    std::map<std::int32_t, std::shared_ptr<Receiver>> receivers_;
    std::map<std::int32_t, std::shared_ptr<Pending>> pending_;
    std::int32_t lastNumber_ = 0;
};

/// A connection with all that belongs to it. Subscriptions share it, so that they may outlive the Connection.
struct Session {
    using State = OPC::OpcDaClient::ServerState;

    void listen(std::function<void(State)> onState) {
        server.add_ServerStateChanged([dispatch = dispatch, onState = std::move(onState)](std::int32_t, State state) {
            if (state != State::CONNECTED) dispatch->lost();
            if (onState) onState(state);
        });
        server.add_DataChanged([dispatch = dispatch](std::int32_t number, bool, bool, const Receiver::Items& items) {
            dispatch->changed(number, items);
        });
        server.add_ReadCompleted([dispatch = dispatch](std::int32_t transaction, bool, bool, const auto& items) {
            dispatch->completed(transaction, items);
        });
        server.add_WriteCompleted([dispatch = dispatch](std::int32_t transaction, bool, const auto& items) {
            dispatch->completed(transaction, items);
        });
    }

    void end() noexcept {
        try {
            if (server.IsConnected()) server.Disconnect();
        } catch (const std::exception&) {
            /// It is disconnected all the same.
        }
        dispatch->closeReceivers();
        dispatch->lost();
    }

    OPC::OpcDaClient::DaServerMgt server;
    std::shared_ptr<Dispatch> dispatch = std::make_shared<Dispatch>();
};

}  // namespace Korvex::detail
