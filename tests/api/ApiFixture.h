// An application of the object API, beside the simulation server.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/api/Story.h"
#include "tests/support/SimulationFixture.h"

namespace Korvex::OPC::OpcDaClient {

using State = OpcDaClient::ServerState;  // by the name that no method has

class ApiFixture : public Testing::SimulationFixture {
protected:
    static constexpr const char* kUrl = "opcda://localhost/Korvex.Simulation.1/{6B0E7A52-3D1C-4F0A-9C4E-215B77D018E3}";
    static constexpr std::int32_t kClientSubscription = 70;

    void connect() { server.Connect(kUrl, 7, &info, connectFailed); }

    ReturnCode read(std::initializer_list<ItemIdentifier> list, std::int32_t maxAge = 0) {
        items = list;
        return server.Read(maxAge, items, values);
    }
    ReturnCode subscribe(std::initializer_list<ItemIdentifier> list, bool active = true,
                         std::int32_t updateRate = 100) {
        items = list;
        return server.Subscribe(kClientSubscription, active, updateRate, revised, 0, items, handle);
    }
    ReturnCode add(std::initializer_list<ItemIdentifier> list) {
        items = list;
        return server.SubscriptionAddItems(handle, items);
    }
    std::string resultOf(std::size_t i) const { return toUtf8(items[i].ResultID().Name()); }

    ConnectInfo info;
    bool connectFailed = true;
    NullableArray<ItemIdentifier> items;
    NullableArray<ItemValue> values;
    std::int32_t revised = 0;
    std::int32_t handle = 0;
    const std::shared_ptr<Story> story = std::make_shared<Story>();
    DaServerMgt server;
};

// The exception that `action` throws, by its kind; the test fails if it throws none.
template <typename Kind, typename Action>
Kind thrownBy(Action&& action) {
    try {
        action();
    } catch (const Kind& exception) {
        return exception;
    }
    throw std::logic_error("nothing was thrown");
}

inline std::int32_t opcCodeOf(const std::function<void()>& action) {
    return thrownBy<OPCException>(action).ResultID().Code();
}

inline ItemIdentifier item(const char* id, Object clientHandle = {}) {
    return ItemIdentifier(id, "", clientHandle);
}

inline ItemValue value(Object content) {
    ItemValue result;
    result.Value(std::move(content));
    return result;
}

}  // namespace Korvex::OPC::OpcDaClient
