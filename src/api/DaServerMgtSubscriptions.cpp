// Subscriptions.
#include <algorithm>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "api/ArgumentChecks.h"
#include "api/DaServerMgtPrivate.h"
#include "api/HandleHResult.h"
#include "api/ItemConversion.h"
#include "trace/InterfaceScope.h"
#include "values/deadband.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::InterfaceScope;
using OpxOpc::LibT;

namespace {

void checkUpdateRate(std::int32_t updateRate) {
    if (updateRate < 0) HandleNegativeNumber("updateRate");
}

void checkDeadband(float deadband) {
    if (OpxOpc::isInvalidDeadband(deadband)) HandleDeadband("deadband");
}

// Numbers too large for a float become the largest float: casting them is undefined.
float narrowed(double value) {
    constexpr double kLargest = std::numeric_limits<float>::max();
    return static_cast<float>(std::clamp(value, -kLargest, kLargest));
}

// The engine's numbers have no sign, the application's have.
std::uint32_t toNative(std::int32_t number) {
    return static_cast<std::uint32_t>(number);
}
std::int32_t toPublic(std::uint32_t number) {
    return static_cast<std::int32_t>(number);
}

// The lines around a change of settings; its name is spelled in two ways.
InterfaceScope modifyScope() {
    LibT::lIfCall("==> MCPP::DaServerMgt::SubscriptionModify");
    return InterfaceScope::entered("MCPP::DaServerMgt::SubscribtionModify");
}

ReturnCode rateCode(std::int32_t hr) {
    return hr == S_OK ? ReturnCode::SUCCEEDED : ReturnCode::UNSUPPORTEDUPDATERATE;
}

}  // namespace

ReturnCode DaServerMgt::Subscribe(std::int32_t clientSubscription, bool active, std::int32_t updateRate,
                                  std::int32_t& revisedUpdateRate, float deadband,
                                  NullableArray<ItemIdentifier>& itemIdentifiers, std::int32_t& serverSubscription) {
    const InterfaceScope trace("MCPP::DaServerMgt::Subscribe");
    CheckArray(itemIdentifiers, "itemIdentifiers");
    checkUpdateRate(updateRate);
    checkDeadband(deadband);

    const auto native = d_->native();
    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<std::int32_t> errors;
    std::uint32_t revised = toNative(revisedUpdateRate);
    std::uint32_t server = toNative(serverSubscription);
    // Inactive, so that no data change comes before its handles are known.
    const std::uint32_t internalHandle = d_->events->m_HandleManager.GetSubscriptionHandle();
    const std::int32_t hr = native->m_OpxDaClient.subscribe(internalHandle, false, toNative(updateRate), deadband,
                                                            items, &revised, &server, errors);
    HandleHResult(hr);
    CopyItemResults(items, ItemResults(hr, errors), identifiers);
    serverSubscription = toPublic(server);
    revisedUpdateRate = toPublic(revised);
    d_->events->subscriptions.add(server, internalHandle, toNative(clientSubscription), CreateItemHandles(identifiers));
    if (active) SubscriptionModify(serverSubscription, true);
    trace.leave(hr);
    if (hr == S_FALSE) return ReturnCode::ITEMERROR;
    return updateRate == revisedUpdateRate ? ReturnCode::SUCCEEDED : ReturnCode::UNSUPPORTEDUPDATERATE;
}

ReturnCode DaServerMgt::SubscriptionModify(std::int32_t serverSubscription, float deadband) {
    const InterfaceScope trace = modifyScope();
    checkDeadband(deadband);
    const std::int32_t hr = d_->native()->m_OpxDaClient.subscriptionModify(toNative(serverSubscription), deadband);
    HandleHResult(hr);
    trace.leave(hr);
    return ReturnCode::SUCCEEDED;
}

ReturnCode DaServerMgt::SubscriptionModify(std::int32_t serverSubscription, double deadband) {
    return SubscriptionModify(serverSubscription, narrowed(deadband));
}

ReturnCode DaServerMgt::SubscriptionModify(std::int32_t serverSubscription, std::int32_t updateRate,
                                           std::int32_t& revisedUpdateRate) {
    const InterfaceScope trace = modifyScope();
    checkUpdateRate(updateRate);
    std::uint32_t revised = toNative(revisedUpdateRate);
    const std::int32_t hr =
        d_->native()->m_OpxDaClient.subscriptionModify(toNative(serverSubscription), toNative(updateRate), &revised);
    HandleHResult(hr);
    revisedUpdateRate = toPublic(revised);
    trace.leave(hr);
    return rateCode(hr);
}

ReturnCode DaServerMgt::SubscriptionModify(std::int32_t serverSubscription, bool active) {
    const InterfaceScope trace = modifyScope();
    const std::int32_t hr = d_->native()->m_OpxDaClient.subscriptionModify(toNative(serverSubscription), active);
    HandleHResult(hr);
    trace.leave(hr);
    return ReturnCode::SUCCEEDED;
}

ReturnCode DaServerMgt::SubscriptionModify(std::int32_t serverSubscription, bool active, std::int32_t updateRate,
                                           std::int32_t& revisedUpdateRate, float deadband) {
    const InterfaceScope trace = modifyScope();
    checkUpdateRate(updateRate);
    checkDeadband(deadband);
    std::uint32_t revised = toNative(revisedUpdateRate);
    const std::int32_t hr = d_->native()->m_OpxDaClient.subscriptionModify(toNative(serverSubscription), active,
                                                                           toNative(updateRate), deadband, &revised);
    HandleHResult(hr);
    revisedUpdateRate = toPublic(revised);
    trace.leave(hr);
    return rateCode(hr);
}

ReturnCode DaServerMgt::SubscriptionAddItems(std::int32_t serverSubscription,
                                             NullableArray<ItemIdentifier>& itemIdentifiers) {
    LibT::lIfCall("==> MCPP::DaServerMgt::SubscritpionAddItems");
    const InterfaceScope trace = InterfaceScope::entered("MCPP::DaServerMgt::SubscribtionAddItems");
    CheckArray(itemIdentifiers, "itemIdentifiers");

    const auto native = d_->native();
    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<OpxOpc::OpxItemIdentifier> items = CreateItemIdentifierVector(identifiers);
    std::vector<std::int32_t> errors;
    // The items' first data change may come before the call returns.
    SubscriptionHandles::Adding adding(d_->events->subscriptions, toNative(serverSubscription),
                                       CreateItemHandles(identifiers));
    const std::int32_t hr = native->m_OpxDaClient.subscriptionAddItems(toNative(serverSubscription), items, errors);
    HandleHResult(hr);
    if (!d_->events->subscriptions.contains(toNative(serverSubscription))) throw KeyNotFoundException();
    adding.keep();
    const ItemResults results(hr, errors);
    CopyItemResults(items, results, identifiers);
    trace.leave(hr);
    return results.returnCode(true);
}

ReturnCode DaServerMgt::SubscriptionRemoveItems(std::int32_t serverSubscription,
                                                NullableArray<ItemIdentifier>& itemIdentifiers) {
    LibT::lIfCall("==> MCPP::DaServerMgt::SubscritpionRemoveItems");
    const InterfaceScope trace = InterfaceScope::entered("MCPP::DaServerMgt::SubscribtionRemoveItems");
    CheckArray(itemIdentifiers, "itemIdentifiers");

    std::vector<ItemIdentifier>& identifiers = itemIdentifiers.value();
    std::vector<std::int32_t> errors;
    const std::int32_t hr = d_->native()->m_OpxDaClient.subscriptionRemoveItems(
        toNative(serverSubscription), CreateItemIdentifierVector(identifiers), errors);
    HandleHResult(hr);
    trace.leave(hr);
    if (hr == S_OK) return ReturnCode::SUCCEEDED;
    const std::size_t told = std::min(errors.size(), identifiers.size());
    for (std::size_t i = 0; i < told; ++i) identifiers[i].ResultID(ResultID(errors[i]));
    return ReturnCode::ITEMERROR;
}

void DaServerMgt::SubscriptionCancel(std::int32_t serverSubscription) {
    const InterfaceScope trace("MCPP::DaServerMgt::SubscriptionCancel");
    const auto native = d_->native();
    const auto internalHandle = d_->events->subscriptions.remove(toNative(serverSubscription));
    const std::int32_t hr = native->m_OpxDaClient.subscriptionCancel(toNative(serverSubscription));
    // Only now: data changes may come until then, and would pass for those of its next owner.
    if (internalHandle) d_->events->m_HandleManager.RemoveSubscriptionHandle(*internalHandle);
    HandleHResult(hr);
    trace.leave(hr);
}

}  // namespace Korvex::OPC::OpcDaClient
