#include "core/ParameterTrace.h"

#include "trace/LibT.h"
#include "values/codeAt.h"

namespace OpxOpc::ParameterTrace {
namespace {

// A value or time that has no text is traced as nothing: the trace must not disturb the call.
template <typename ToText>
OpxString textOrNothing(ToText&& toText) {
    try {
        return toText();
    } catch (const OpxTypeConversionException&) {
        return {};
    }
}

void knownItems(const Items& list) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        LibT::lDetail("    Item[%d] %ls %ls DT=%d SH=%d", i, list[i].itemName, list[i].itemPath, list[i].dataType,
                      list[i].serverHandle);
    }
}

void itemsWithValues(const Items& list, const Values& values) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size() && i < values.size(); ++i) {
        const OpxString text = textOrNothing([&] { return values[i].value.toString(); });
        LibT::lDetail("    Item[%d] %ls %ls DT=%d SH=%d Value=%ls", i, list[i].itemName, list[i].itemPath,
                      list[i].dataType, list[i].serverHandle, text);
    }
}

void newItems(const Items& list) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        LibT::lDetail("    Item[%d] %ls %ls DT=%d CH=%d", i, list[i].itemName, list[i].itemPath, list[i].dataType,
                      list[i].clientHandle);
    }
}

// True when the item's line is that of its error.
bool itemError(std::size_t i, const OpxItemIdentifier& item, const Codes& errors) {
    const HRESULT error = codeAt(errors, i);
    if (error >= 0) return false;
    LibT::lDetail("    Item[%d] %ls %ls error=0x%lx", i, item.itemName, item.itemPath, error);
    return true;
}

void activeFlag(bool active) {
    if (active)
        LibT::lDetail("  Active = true");
    else
        LibT::lDetail("  Active = false");
}

void propertyRequest(const PropertyRequest& request) {
    if (request.all)
        LibT::lDetail("  ReturnAllProperties = true");
    else
        LibT::lDetail("  ReturnAllProperties = false");
    if (request.values)
        LibT::lDetail("  ReturnPropertyValues = true");
    else
        LibT::lDetail("  ReturnPropertyValues = false");
    LibT::lDetail("  Requested PropertyID count = %d", request.ids.size());
    for (std::size_t i = 0; i < request.ids.size(); ++i) {
        LibT::lDetail("    ID[%d] PropertyID = %d", i, request.ids[i]);
    }
}

OpxString truth(bool value) {
    return value ? OLESTR("true") : OLESTR("false");
}

void addedItems(const Items& list, const Codes& errors) {
    if (errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (itemError(i, list[i], errors)) continue;
        LibT::lDetail("    Item[%d] %ls %ls SH=%d", i, list[i].itemName, list[i].itemPath, list[i].serverHandle);
    }
}

void itemValue(std::size_t i, const OpxItemIdentifier& item, const OpxItemValue& value) {
    const OpxString text = textOrNothing([&] { return value.value.toString(); });
    const OpxString time = textOrNothing([&] { return value.timestamp.toDateTimeText(OpxDate::kUtc); });
    LibT::lDetail("    Item[%d] %ls %ls value=%ls quality=0X%x TS=%ls SH=%d", i, item.itemName, item.itemPath, text,
                  value.quality, time, item.serverHandle);
}

}  // namespace

void inputs(const ConnectRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  URL = %ls", request.url);
    LibT::lDetail("  ServerConnectInfo:");
    LibT::lDetail("    KeepAliveTime = %d", request.info.keepAliveTime);
    LibT::lDetail("    LocalId = %ls", request.info.localId);
    if (request.info.reconnectAfterConnectionError)
        LibT::lDetail("    ReconnectAfterConnectionError = true");
    else
        LibT::lDetail("    ReconnectAfterConnectionError = false");
    if (request.info.retryInitialConnect)
        LibT::lDetail("    RetryInitialConnect = true");
    else
        LibT::lDetail("    RetryInitialConnect = false");
    LibT::lDetail("  ClientHandle = %d", request.clientHandle);
}

void inputs(const ReadRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    if (request.transaction) LibT::lDetail("  TransactionHandle = %d", *request.transaction);
    LibT::lDetail("  MaxAge = %d", request.maxAge);
    knownItems(request.items);
}

void inputs(const WriteRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    if (request.transaction) LibT::lDetail("  TransactionHandle = %d", *request.transaction);
    itemsWithValues(request.items, request.values);
}

void outputs(const ReadRequest& request, const ReadAnswer& answer) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    LibT::lDetail("  Value count = %d", answer.values.size());
    if (answer.errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < request.items.size() && i < answer.values.size(); ++i) {
        if (!itemError(i, request.items[i], answer.errors)) itemValue(i, request.items[i], answer.values[i]);
    }
}

void inputs(const SubscribeRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ClientSubscriptionHandle = %d", request.clientSubscription);
    activeFlag(request.active);
    LibT::lDetail("  UpdateRate = %d", request.updateRate);
    LibT::lDetail("  Deadband = %f", static_cast<double>(request.deadband));
    newItems(request.items);
}

void outputs(const SubscribeRequest& request, const SubscribeAnswer& answer) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (answer.revisedUpdateRate) LibT::lDetail("  RevisedUpdateRate = %d", *answer.revisedUpdateRate);
    if (answer.serverSubscription) LibT::lDetail("  ServerSubscriptionHandle = %d", *answer.serverSubscription);
    addedItems(request.items, answer.errors);
}

void inputs(const ModifyRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", request.serverSubscription);
    if (request.active) activeFlag(*request.active);
    if (request.updateRate) LibT::lDetail("  UpdateRate = %d", *request.updateRate);
    if (request.deadband) LibT::lDetail("  Deadband = %f", static_cast<double>(*request.deadband));
}

void modifyOutputs(const std::uint32_t* revisedUpdateRate) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (revisedUpdateRate) LibT::lDetail("  RevisedUpdateRate = %d", *revisedUpdateRate);
}

void inputs(const AddItemsRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", request.serverSubscription);
    newItems(request.items);
}

void inputs(const RemoveItemsRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", request.serverSubscription);
    knownItems(request.items);
}

void itemOutputs(const Items& items, const Codes& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    addedItems(items, errors);
}

void errorOutputs(const Items& items, const Codes& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < items.size(); ++i) itemError(i, items[i], errors);
}

void inputs(const BrowseRequest& request, const OpxString& itemPath, const OpxString& continuationPoint) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  Item Name = %ls", request.itemName);
    LibT::lDetail("  Item Path = %ls", itemPath);
    LibT::lDetail("  Continuation Point = %ls", continuationPoint);
    LibT::lDetail("  MaxElementsReturned = %d", request.maxElements);
    LibT::lDetail("  browseFilter = %d", request.filter);
    propertyRequest(request.properties);
}

void outputs(const BrowseAnswer& answer) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    LibT::lDetail("  Continuation Point = %ls", answer.continuationPoint);
    if (answer.moreElements && *answer.moreElements)
        LibT::lDetail("  MoreElements = true");
    else
        LibT::lDetail("  MoreElements = false");
    LibT::lDetail("  Item count = %d", answer.elements.size());
    for (std::size_t i = 0; i < answer.elements.size(); ++i) {
        const OpxBrowseElement& element = answer.elements[i];
        LibT::lDetail("    Item[%d] name=%ls ItemName=%ls ItemPath=%ls isItem=%ls hasChildren=%ls", i, element.name,
                      element.itemName, element.itemPath, truth(element.isItem), truth(element.hasChildren));
    }
}

void inputs(const PropertiesRequest& request) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    knownItems(request.items);
    propertyRequest(request.properties);
}

void propertyOutputs(const Items& items, const std::vector<OpxItemProperties>& results) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    for (std::size_t i = 0; i < items.size() && i < results.size(); ++i) {
        if (results[i].resultCode < 0) {
            LibT::lDetail("    Item[%d] %ls %ls error=0x%lx", i, items[i].itemName, items[i].itemPath,
                          results[i].resultCode);
        } else {
            LibT::lDetail("    Item[%d] %ls %ls Property count = %d", i, items[i].itemName, items[i].itemPath,
                          results[i].properties.size());
        }
    }
}

void cancelInputs(std::uint32_t serverSubscription) {
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", serverSubscription);
}

}  // namespace OpxOpc::ParameterTrace
