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

    HRESULT connect(ConnectRequest request) override;
    HRESULT disconnect() override;
    HRESULT read(const ReadRequest& request, const ReadAnswer& answer) override;
    HRESULT readAsync(const ReadRequest& request, Codes& errors) override;
    HRESULT write(const WriteRequest& request, Codes& errors) override;
    HRESULT writeAsync(const WriteRequest& request, Codes& errors) override;

    HRESULT subscribe(const SubscribeRequest& request, const SubscribeAnswer& answer) override;
    HRESULT subscriptionModify(const ModifyRequest& request, std::uint32_t* revisedUpdateRate) override;
    HRESULT subscriptionAddItems(const AddItemsRequest& request, Codes& errors) override;
    HRESULT subscriptionRemoveItems(const RemoveItemsRequest& request, Codes& errors) override;
    HRESULT subscriptionCancel(std::uint32_t serverSubscription) override;

    HRESULT browse(const BrowseRequest& request, const BrowseAnswer& answer) override;
    HRESULT getProperties(const PropertiesRequest& request, std::vector<OpxItemProperties>& results) override;

private:
    std::shared_ptr<DaServerComPrivate> d_;  // shared with its watch-dog, which may be calling this
};

}  // namespace OpxOpc
