#include "core/ParameterTrace.h"

#include "trace/LibT.h"

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

void items(const std::vector<OpxItemIdentifier>& list) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        LibT::lDetail("    Item[%d] %ls %ls DT=%d SH=%d", i, list[i].itemName, list[i].itemPath, list[i].dataType,
                      list[i].serverHandle);
    }
}

void itemsWithValues(const std::vector<OpxItemIdentifier>& list, const std::vector<OpxItemValue>& values) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size() && i < values.size(); ++i) {
        const OpxString text = textOrNothing([&] { return values[i].value.toString(); });
        LibT::lDetail("    Item[%d] %ls %ls DT=%d SH=%d Value=%ls", i, list[i].itemName, list[i].itemPath,
                      list[i].dataType, list[i].serverHandle, text);
    }
}

void newItems(const std::vector<OpxItemIdentifier>& list) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        LibT::lDetail("    Item[%d] %ls %ls DT=%d CH=%d", i, list[i].itemName, list[i].itemPath, list[i].dataType,
                      list[i].clientHandle);
    }
}

// True when the item's line is that of its error.
bool itemError(std::size_t i, const OpxItemIdentifier& item, const std::vector<std::int32_t>& errors) {
    const std::int32_t error = i < errors.size() ? errors[i] : S_OK;
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

void addedItems(const std::vector<OpxItemIdentifier>& list, const std::vector<std::int32_t>& errors) {
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

void connectInputs(const OpxString& url, const OpxServerConnectInfo& info, std::uint32_t clientHandle) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  URL = %ls", url);
    LibT::lDetail("  ServerConnectInfo:");
    LibT::lDetail("    KeepAliveTime = %d", info.keepAliveTime);
    LibT::lDetail("    LocalId = %ls", info.localId);
    if (info.reconnectAfterConnectionError)
        LibT::lDetail("    ReconnectAfterConnectionError = true");
    else
        LibT::lDetail("    ReconnectAfterConnectionError = false");
    if (info.retryInitialConnect)
        LibT::lDetail("    RetryInitialConnect = true");
    else
        LibT::lDetail("    RetryInitialConnect = false");
    LibT::lDetail("  ClientHandle = %d", clientHandle);
}

void readInputs(std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  MaxAge = %d", maxAge);
    items(list);
}

void readAsyncInputs(std::uint32_t transaction, std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  TransactionHandle = %d", transaction);
    LibT::lDetail("  MaxAge = %d", maxAge);
    items(list);
}

void writeInputs(const std::vector<OpxItemIdentifier>& list, const std::vector<OpxItemValue>& values) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    itemsWithValues(list, values);
}

void writeAsyncInputs(std::uint32_t transaction, const std::vector<OpxItemIdentifier>& list,
                      const std::vector<OpxItemValue>& values) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  TransactionHandle = %d", transaction);
    itemsWithValues(list, values);
}

void readOutputs(const std::vector<OpxItemIdentifier>& list, const std::vector<OpxItemValue>& values,
                 const std::vector<std::int32_t>& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    LibT::lDetail("  Value count = %d", values.size());
    if (errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < list.size() && i < values.size(); ++i) {
        if (!itemError(i, list[i], errors)) itemValue(i, list[i], values[i]);
    }
}

void subscribeInputs(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate, float deadband,
                     const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ClientSubscriptionHandle = %d", clientSubscription);
    activeFlag(active);
    LibT::lDetail("  UpdateRate = %d", updateRate);
    LibT::lDetail("  Deadband = %f", static_cast<double>(deadband));
    newItems(list);
}

void subscribeOutputs(const std::uint32_t* revisedUpdateRate, const std::uint32_t* serverSubscription,
                      const std::vector<OpxItemIdentifier>& list, const std::vector<std::int32_t>& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (revisedUpdateRate) LibT::lDetail("  RevisedUpdateRate = %d", *revisedUpdateRate);
    if (serverSubscription) LibT::lDetail("  ServerSubscriptionHandle = %d", *serverSubscription);
    addedItems(list, errors);
}

void modifyInputs(std::uint32_t serverSubscription, const Settings& settings) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", serverSubscription);
    if (settings.active) activeFlag(*settings.active);
    if (settings.updateRate) LibT::lDetail("  UpdateRate = %d", *settings.updateRate);
    if (settings.deadband) LibT::lDetail("  Deadband = %f", static_cast<double>(*settings.deadband));
}

void modifyOutputs(const std::uint32_t* revisedUpdateRate) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (revisedUpdateRate) LibT::lDetail("  RevisedUpdateRate = %d", *revisedUpdateRate);
}

void addItemsInputs(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", serverSubscription);
    newItems(list);
}

void removeItemsInputs(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", serverSubscription);
    items(list);
}

void itemOutputs(const std::vector<OpxItemIdentifier>& list, const std::vector<std::int32_t>& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    addedItems(list, errors);
}

void errorOutputs(const std::vector<OpxItemIdentifier>& list, const std::vector<std::int32_t>& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    if (errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < list.size(); ++i) itemError(i, list[i], errors);
}

void browseInputs(const OpxString& itemName, const OpxString& itemPath, const OpxString& continuationPoint,
                  std::uint32_t maxElementsReturned, BrowseFilter filter, const PropertyRequest& properties) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  Item Name = %ls", itemName);
    LibT::lDetail("  Item Path = %ls", itemPath);
    LibT::lDetail("  Continuation Point = %ls", continuationPoint);
    LibT::lDetail("  MaxElementsReturned = %d", maxElementsReturned);
    LibT::lDetail("  browseFilter = %d", filter);
    propertyRequest(properties);
}

void browseOutputs(const OpxString& continuationPoint, const bool* moreElements,
                   const std::vector<OpxBrowseElement>& elements) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    LibT::lDetail("  Continuation Point = %ls", continuationPoint);
    if (moreElements && *moreElements)
        LibT::lDetail("  MoreElements = true");
    else
        LibT::lDetail("  MoreElements = false");
    LibT::lDetail("  Item count = %d", elements.size());
    for (std::size_t i = 0; i < elements.size(); ++i) {
        const OpxBrowseElement& element = elements[i];
        LibT::lDetail("    Item[%d] name=%ls ItemName=%ls ItemPath=%ls isItem=%ls hasChildren=%ls", i, element.name,
                      element.itemName, element.itemPath, truth(element.isItem), truth(element.hasChildren));
    }
}

void getPropertiesInputs(const std::vector<OpxItemIdentifier>& list, const PropertyRequest& properties) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    items(list);
    propertyRequest(properties);
}

void getPropertiesOutputs(const std::vector<OpxItemIdentifier>& list, const std::vector<OpxItemProperties>& results) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    for (std::size_t i = 0; i < list.size() && i < results.size(); ++i) {
        if (results[i].resultCode < 0) {
            LibT::lDetail("    Item[%d] %ls %ls error=0x%lx", i, list[i].itemName, list[i].itemPath,
                          results[i].resultCode);
        } else {
            LibT::lDetail("    Item[%d] %ls %ls Property count = %d", i, list[i].itemName, list[i].itemPath,
                          results[i].properties.size());
        }
    }
}

void cancelInputs(std::uint32_t serverSubscription) {
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  ServerSubscriptionHandle = %d", serverSubscription);
}

}  // namespace OpxOpc::ParameterTrace
