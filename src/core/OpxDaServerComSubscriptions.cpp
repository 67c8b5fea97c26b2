// The engine's subscriptions: each is one group of its own on the server.
#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "core/CallFrame.h"
#include "core/DaServerComPrivate.h"
#include "core/OpxDaServerCom.h"
#include "core/guarded.h"
#include "opc/rpc_errors.h"
#include "trace/LibT.h"
#include "values/codeAt.h"
#include "values/deadband.h"

namespace OpxOpc {
namespace {

using Reach = DaGroupWrapper::Reach;

void activateAll(Items& items) {
    for (OpxItemIdentifier& item : items) item.active = true;
}

void copyBack(const Items& added, const Codes& errors, Items& items) {
    for (std::size_t i = 0; i < items.size(); ++i) {
        const HRESULT code = codeAt(errors, i);
        if (code < 0) {
            items[i].serverHandle = 0;
            LibT::lDetail("  Item[%d] %ls error=0x%lx", i, items[i].itemName, code);
            continue;
        }
        items[i].serverHandle = added[i].serverHandle;
        items[i].dataType = added[i].dataType;
        items[i].accessRights = added[i].accessRights;
        LibT::lDetail("  Item[%d] %ls DT=%d AR=%d SH=%d", i, items[i].itemName, items[i].dataType,
                      items[i].accessRights, items[i].serverHandle);
    }
}

// A group on the server that is removed again unless it becomes a subscription's.
class GroupOnServer {
public:
    GroupOnServer(std::shared_ptr<DaServerMgt> server, std::shared_ptr<DaGroupMgt> group)
        : server_(std::move(server)), group_(std::move(group)) {}
    ~GroupOnServer() {
        if (group_) guarded([this] { return server_->removeGroup(group_.get()); });
    }
    GroupOnServer(const GroupOnServer&) = delete;
    GroupOnServer& operator=(const GroupOnServer&) = delete;

    void keep() { group_.reset(); }

private:
    std::shared_ptr<DaServerMgt> server_;
    std::shared_ptr<DaGroupMgt> group_;
};

// Gives up a group that could not be added, or not be used once the server had made it; answers `why`.
HRESULT dropGroup(DaServerMgt& server, DaGroupMgt& group, HRESULT why) {
    if (group.wasCreated()) server.removeGroup(&group);
    return why;
}

// Connects the client and starts the delivery. A subscription that the server does not activate stays,
// inactive and without callback; one whose server is lost in between starts when that is back.
HRESULT startDelivery(DaGroupWrapper& subscription, const CallFrame& frame, bool active, bool comesBack) {
    const HRESULT hr = subscription.connectCallback(frame.callback(), frame.reach());
    if (failed(hr)) return hr;
    if (!active) return S_OK;
    const HRESULT activated = subscription.setActive(true, frame.reach());
    if (succeeded(activated)) return S_OK;
    if (comesBack && isServerLost(activated))
        subscription.setActive(true, Reach::KeptStateOnly);
    else
        subscription.disconnectCallback(frame.reach());
    return S_OK;
}

HRESULT addItemsAndStart(DaGroupWrapper& subscription, const CallFrame& frame, const SubscribeRequest& request,
                         bool comesBack, Codes& errors) {
    Items added = request.items;
    activateAll(added);
    const HRESULT hr = subscription.addItems(added, errors, false, frame.reach());
    if (failed(hr)) return hr;
    copyBack(added, errors, request.items);
    const HRESULT started = startDelivery(subscription, frame, request.active, comesBack);
    if (failed(started)) return started;
    return hr == S_FALSE ? S_FALSE : S_OK;
}

// The end of an operation on a subscription, which is null when it was cancelled.
template <typename Operation>
HRESULT leaveWith(CallFrame& frame, const SubscriptionTable::Wrapper& subscription, Operation&& operation) {
    if (!subscription) return frame.leave(E_INVALIDARG);
    return frame.leave(guarded([&] { return operation(*subscription); }));
}

// Ends the group of a cancelled subscription; on a server that is lost there is nothing to ask.
HRESULT endGroup(DaServerComPrivate& connection, const CallFrame& frame, DaGroupWrapper& subscription) {
    if (!frame.connected()) {
        if (auto lost = subscription.takeGroup()) connection.tearDownGroup(std::move(lost));
        return S_OK;
    }
    const auto group = subscription.group();
    if (!group) return S_OK;
    const HRESULT hr = frame.link().server->removeGroup(group.get());
    if (failed(hr)) subscription.retire();
    return hr;
}

void answerRate(const DaGroupWrapper& subscription, Reach reach, std::uint32_t* revisedUpdateRate) {
    if (revisedUpdateRate) *revisedUpdateRate = subscription.updateRate(reach);
}

// Each kind of modification has a name of its own in the trace.
const char* modificationName(const ModifyRequest& request) {
    if (request.active && request.updateRate) return "DaServerCom::subscriptionModify";
    if (request.active) return "DaServerCom::subscriptionModify1";
    return request.updateRate ? "DaServerCom::subscriptionModify2" : "DaServerCom::subscriptionModify3";
}

HRESULT modify(DaGroupWrapper& subscription, const ModifyRequest& request, Reach reach,
               std::uint32_t* revisedUpdateRate) {
    if (request.active && request.updateRate && request.deadband) {
        const HRESULT hr = subscription.setState(*request.active, *request.deadband, *request.updateRate, reach);
        if (succeeded(hr)) answerRate(subscription, reach, revisedUpdateRate);
        return hr;
    }
    if (request.active) return subscription.setActive(*request.active, reach);
    if (request.deadband) return subscription.setDeadband(*request.deadband, reach);
    const HRESULT hr = subscription.setUpdateRate(request.updateRate.value_or(0), reach);
    answerRate(subscription, reach, revisedUpdateRate);
    return hr;
}

}  // namespace

HRESULT OpxDaServerCom::subscribe(const SubscribeRequest& request, const SubscribeAnswer& answer) {
    CallFrame frame(*d_, "DaServerCom::subscribe", CallFrame::Needs::Subscriptions);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (!frame.callback()) return frame.refuse("[E_INVALIDARG] - callback pointer is NULL", E_INVALIDARG);
    if (request.items.empty()) return frame.refuse("[E_INVALIDARG] - item list is empty", E_INVALIDARG);
    if (isInvalidDeadband(request.deadband)) return frame.refuseDeadband(request.deadband);

    return frame.leave(guarded([&] {
        answer.errors.clear();
        auto subscription =
            std::make_shared<DaGroupWrapper>(frame.connected(), frame.comesBack(), OpxString(), request.updateRate,
                                             false, request.clientSubscription, request.deadband);
        if (frame.connected()) {
            const HRESULT hr = frame.link().server->addGroup(subscription->group().get());
            if (failed(hr)) return dropGroup(*frame.link().server, *subscription->group(), hr);
        }
        GroupOnServer group(frame.link().server, subscription->group());
        answerRate(*subscription, frame.reach(), answer.revisedUpdateRate);

        const HRESULT hr = addItemsAndStart(*subscription, frame, request, frame.comesBack(), answer.errors);
        if (failed(hr)) {
            answer.errors.clear();
            return hr;
        }
        const std::uint32_t handle = d_->addSubscription(std::move(subscription), frame.link());
        if (handle == 0) {
            answer.errors.clear();
            return E_FAIL;
        }
        group.keep();
        if (answer.serverSubscription) *answer.serverSubscription = handle;
        return hr;
    }));
}

HRESULT OpxDaServerCom::subscriptionModify(const ModifyRequest& request, std::uint32_t* revisedUpdateRate) {
    CallFrame frame(*d_, modificationName(request), CallFrame::Needs::Subscriptions);
    if (!frame.entered()) return frame.refuseUnconnected();
    const auto found = d_->subscriptions().find(request.serverSubscription);
    if (!found) return frame.refuseHandle(request.serverSubscription);
    if (request.deadband && isInvalidDeadband(*request.deadband)) return frame.refuseDeadband(*request.deadband);
    return leaveWith(frame, *found, [&](DaGroupWrapper& subscription) {
        return modify(subscription, request, frame.reach(), revisedUpdateRate);
    });
}

HRESULT OpxDaServerCom::subscriptionAddItems(const AddItemsRequest& request, Codes& errors) {
    CallFrame frame(*d_, "DaServerCom::subscriptionAddItems", CallFrame::Needs::Subscriptions);
    if (!frame.entered()) return frame.refuseUnconnected();
    const auto found = d_->subscriptions().find(request.serverSubscription);
    if (!found) return frame.refuseHandle(request.serverSubscription);
    if (!frame.callback()) return frame.refuse("[E_INVALIDARG] - callback pointer is NULL", E_FAIL);
    if (request.items.empty()) return frame.refuse("[E_INVALIDARG] - item list is empty", E_INVALIDARG);
    activateAll(request.items);
    return leaveWith(frame, *found, [&](DaGroupWrapper& subscription) {
        return subscription.addItems(request.items, errors, false, frame.reach());
    });
}

HRESULT OpxDaServerCom::subscriptionRemoveItems(const RemoveItemsRequest& request, Codes& errors) {
    CallFrame frame(*d_, "DaServerCom::subscriptionRemoveItems", CallFrame::Needs::Subscriptions);
    if (!frame.entered()) return frame.refuseUnconnected();
    if (request.items.empty()) return frame.refuse("[E_INVALIDARG] - item list is empty", E_INVALIDARG);
    const auto found = d_->subscriptions().find(request.serverSubscription);
    if (!found) return frame.refuseHandle(request.serverSubscription);
    return leaveWith(frame, *found, [&](DaGroupWrapper& subscription) {
        Items removed = request.items;
        return subscription.removeItems(removed, errors, frame.reach());
    });
}

HRESULT OpxDaServerCom::subscriptionCancel(std::uint32_t serverSubscription) {
    CallFrame frame(*d_, "DaServerCom::subscriptionCancel", CallFrame::Needs::Subscriptions);
    if (!frame.entered()) return frame.refuseUnconnected();
    auto found = d_->subscriptions().find(serverSubscription);
    if (!found) return frame.refuseHandle(serverSubscription);
    return leaveWith(frame, *found, [&](DaGroupWrapper& subscription) {
        // At once, so that neither a loss nor a reconnect that comes meanwhile takes it for a living one.
        subscription.end();
        if (const HRESULT hr = endGroup(*d_, frame, subscription); failed(hr)) return hr;
        if (!d_->subscriptions().remove(serverSubscription, *found)) return E_INVALIDARG;
        found->reset();
        return S_OK;
    });
}

}  // namespace OpxOpc
