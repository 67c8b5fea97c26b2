// The engine: keeps one connection to one OPC server and serves the facade's operations with it.
#pragma once

#include <memory>

#include "core/OpxDaServerInterface.h"

namespace OpxOpc {

class DaServerComPrivate;

class OpxDaServerCom final : public OpxDaServerInterface {
public:
    OpxDaServerCom();
    ~OpxDaServerCom() override;
    OpxDaServerCom(const OpxDaServerCom&) = delete;
    OpxDaServerCom& operator=(const OpxDaServerCom&) = delete;

    HRESULT connect(const OpxString& url, OpxServerConnectInfo& info, std::uint32_t clientHandle,
                    std::shared_ptr<OpxDataCallback> callback) override;
    HRESULT disconnect() override;
    HRESULT read(std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items, std::vector<OpxItemValue>& values,
                 std::vector<std::int32_t>& errors) override;
    HRESULT readAsync(std::uint32_t transaction, std::uint32_t maxAge, std::vector<OpxItemIdentifier>& items,
                      std::vector<std::int32_t>& errors) override;
    HRESULT write(std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                  std::vector<std::int32_t>& errors) override;
    HRESULT writeAsync(std::uint32_t transaction, std::vector<OpxItemIdentifier>& items,
                       const std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) override;

    HRESULT subscribe(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate, float deadband,
                      std::vector<OpxItemIdentifier>& items, std::uint32_t* revisedUpdateRate,
                      std::uint32_t* serverSubscription, std::vector<std::int32_t>& errors) override;
    HRESULT subscriptionModify(std::uint32_t serverSubscription, float deadband) override;
    HRESULT subscriptionModify(std::uint32_t serverSubscription, std::uint32_t updateRate,
                               std::uint32_t* revisedUpdateRate) override;
    HRESULT subscriptionModify(std::uint32_t serverSubscription, bool active) override;
    HRESULT subscriptionModify(std::uint32_t serverSubscription, bool active, std::uint32_t updateRate, float deadband,
                               std::uint32_t* revisedUpdateRate) override;
    HRESULT subscriptionAddItems(std::uint32_t serverSubscription, std::vector<OpxItemIdentifier>& items,
                                 std::vector<std::int32_t>& errors) override;
    HRESULT subscriptionRemoveItems(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& items,
                                    std::vector<std::int32_t>& errors) override;
    HRESULT subscriptionCancel(std::uint32_t serverSubscription) override;

    HRESULT browse(const OpxString& itemName, const OpxString& itemPath, OpxString& continuationPoint,
                   std::uint32_t maxElementsReturned, BrowseFilter filter,
                   const std::vector<std::uint32_t>& propertyIds, bool returnAllProperties, bool returnPropertyValues,
                   std::vector<OpxBrowseElement>& elements, bool* moreElements) override;
    HRESULT getProperties(const std::vector<OpxItemIdentifier>& items, const std::vector<std::uint32_t>& propertyIds,
                          bool returnAllProperties, bool returnPropertyValues,
                          std::vector<OpxItemProperties>& results) override;

private:
    std::shared_ptr<DaServerComPrivate> d_;  // shared with its watch-dog, which may be calling this
};

}  // namespace OpxOpc
