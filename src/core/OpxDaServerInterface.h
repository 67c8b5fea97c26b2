// The engine as the facade sees it.
#pragma once

#include <cstdint>
#include <vector>

#include "com/com.h"
#include "core/requests.h"

namespace OpxOpc {

// Lists are filled in item order with one entry an item; an errors list may stay empty and then
// means that every code is 0. A partial failure is S_FALSE. Nothing throws. The destructor releases
// everything that is held.
class OpxDaServerInterface {
public:
    virtual ~OpxDaServerInterface() = default;

    virtual HRESULT connect(ConnectRequest request) = 0;
    virtual HRESULT disconnect() = 0;
    virtual HRESULT read(const ReadRequest& request, const ReadAnswer& answer) = 0;
    virtual HRESULT readAsync(const ReadRequest& request, Codes& errors) = 0;
    virtual HRESULT write(const WriteRequest& request, Codes& errors) = 0;
    virtual HRESULT writeAsync(const WriteRequest& request, Codes& errors) = 0;

    virtual HRESULT subscribe(const SubscribeRequest& request, const SubscribeAnswer& answer) = 0;
    virtual HRESULT subscriptionModify(const ModifyRequest& request, std::uint32_t* revisedUpdateRate) = 0;
    virtual HRESULT subscriptionAddItems(const AddItemsRequest& request, Codes& errors) = 0;
    virtual HRESULT subscriptionRemoveItems(const RemoveItemsRequest& request, Codes& errors) = 0;
    virtual HRESULT subscriptionCancel(std::uint32_t serverSubscription) = 0;

    virtual HRESULT browse(const BrowseRequest& request, const BrowseAnswer& answer) = 0;
    virtual HRESULT getProperties(const PropertiesRequest& request, std::vector<OpxItemProperties>& results) = 0;
};

}  // namespace OpxOpc
