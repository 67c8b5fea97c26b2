// An operation's parameters below the facade: a record of what is asked, and one of where the answer goes.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include <korvex/native/OpxBrowseElement.h>
#include <korvex/native/OpxDataCallback.h>
#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemProperties.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "opc/browse/BrowseRequest.h"

namespace OpxOpc {

// The records refer to the caller's lists, which an operation works on in place: items that are not const get
// their handles and types. They live as long as the call. Pointers may be null: the caller does not want to know.
using Items = std::vector<OpxItemIdentifier>;
using Values = std::vector<OpxItemValue>;
using Codes = std::vector<std::int32_t>;

struct ConnectRequest {
    const OpxString& url;
    OpxServerConnectInfo& info;  // its locale becomes what the server accepted
    std::uint32_t clientHandle = 0;
    std::shared_ptr<OpxDataCallback> callback;
};

struct ReadRequest {
    std::optional<std::uint32_t> transaction;  // of an asynchronous read
    std::uint32_t maxAge = 0;                  // in milliseconds
    Items& items;
};

struct ReadAnswer {
    Values& values;
    Codes& errors;
};

struct WriteRequest {
    std::optional<std::uint32_t> transaction;  // of an asynchronous write
    Items& items;
    const Values& values;
};

struct SubscribeRequest {
    std::uint32_t clientSubscription = 0;
    bool active = false;
    std::uint32_t updateRate = 0;  // in milliseconds
    float deadband = 0;            // in percent; may be not-a-number
    Items& items;
};

struct SubscribeAnswer {
    std::uint32_t* revisedUpdateRate = nullptr;
    std::uint32_t* serverSubscription = nullptr;
    Codes& errors;
};

// The settings to be changed: one of them, or all.
struct ModifyRequest {
    std::uint32_t serverSubscription = 0;
    std::optional<bool> active = std::nullopt;
    std::optional<std::uint32_t> updateRate = std::nullopt;
    std::optional<float> deadband = std::nullopt;
};

struct AddItemsRequest {
    std::uint32_t serverSubscription = 0;
    Items& items;
};

struct RemoveItemsRequest {
    std::uint32_t serverSubscription = 0;
    const Items& items;
};

struct BrowseAnswer {
    OpxString& continuationPoint;  // where to go on, of this call and then of the next
    std::vector<OpxBrowseElement>& elements;
    bool* moreElements = nullptr;
};

struct PropertiesRequest {
    const Items& items;
    PropertyRequest properties;
};

}  // namespace OpxOpc
