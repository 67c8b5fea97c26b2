// What the facade needs of an engine.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <korvex/native/OpxBrowseElement.h>
#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemProperties.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "com/com.h"

namespace OpxOpc {

// Lists are filled in item order with one entry an item; an errors list may stay empty and then
// means that every code is 0. A partial failure is S_FALSE. Nothing throws. The destructor releases
// everything that is held.
class OpxDaServerInterface {
public:
    virtual ~OpxDaServerInterface() = default;

    virtual HRESULT connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                            std::shared_ptr<OpxDataCallback> callback) = 0;
    virtual HRESULT disconnect() = 0;
    virtual HRESULT read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                         std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT readAsync(std::uint32_t transaction, std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                              std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT write(std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                          std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT writeAsync(std::uint32_t transaction, std::vector<OpxItemIdentifier>& items,
                               const std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) = 0;

    // A deadband may be not-a-number. The four modifications tell themselves apart by their arguments.
    virtual HRESULT subscribe(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate, float deadband,
                              std::vector<OpxItemIdentifier>& items, std::uint32_t* revisedUpdateRate,
                              std::uint32_t* serverSubscription, std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT subscriptionModify(std::uint32_t serverSubscription, float deadband) = 0;
    virtual HRESULT subscriptionModify(std::uint32_t serverSubscription, std::uint32_t updateRate,
                                       std::uint32_t* revisedUpdateRate) = 0;
    virtual HRESULT subscriptionModify(std::uint32_t serverSubscription, bool active) = 0;
    virtual HRESULT subscriptionModify(std::uint32_t serverSubscription, bool active, std::uint32_t updateRate,
                                       float deadband, std::uint32_t* revisedUpdateRate) = 0;
    virtual HRESULT subscriptionAddItems(std::uint32_t serverSubscription, std::vector<OpxItemIdentifier>& items,
                                         std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT subscriptionRemoveItems(std::uint32_t serverSubscription,
                                            const std::vector<OpxItemIdentifier>& items,
                                            std::vector<std::int32_t>& errors) = 0;
    virtual HRESULT subscriptionCancel(std::uint32_t serverSubscription) = 0;

    virtual HRESULT browse(const OpxString& itemName, const OpxString& itemPath, OpxString& continuationPoint,
                           std::uint32_t maxElementsReturned, BrowseFilter filter,
                           const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                           bool returnPropertyValues, std::vector<OpxBrowseElement>& elements, bool* moreElements) = 0;
    virtual HRESULT getProperties(const std::vector<OpxItemIdentifier>& items,
                                  const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties,
                                  bool returnPropertyValues, std::vector<OpxItemProperties>& results) = 0;
};

}  // namespace OpxOpc
