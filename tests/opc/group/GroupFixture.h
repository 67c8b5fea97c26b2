// A connection to the simulation server with one group on it.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "opc/group/DaGroupMgt.h"
#include "opc/server/DaServerMgt.h"
#include "tests/support/RecordingCallback.h"
#include "tests/support/SimulationFixture.h"

namespace Korvex::Testing {

using Codes = std::vector<std::int32_t>;
using Handles = std::vector<std::uint32_t>;
using Types = std::vector<Opx::VType>;
using Values = std::vector<OpxOpc::OpxItemValue>;
using Variants = std::vector<OpxOpc::OpxVariant>;

inline OpxOpc::OpxItemIdentifier itemNamed(const OLECHAR* name, Opx::VType type = Opx::VType::Empty) {
    OpxOpc::OpxItemIdentifier item;
    item.itemName = name;
    item.dataType = type;
    return item;
}

// What a row of a failure table works on.
struct Connection {
    // Shared with the connection: a completion may still be under way when the test ends.
    const std::shared_ptr<RecordingCallback> sharedClient = std::make_shared<RecordingCallback>();
    RecordingCallback& client = *sharedClient;
    OpxOpc::DaServerMgt server;
    OpxOpc::DaGroupMgt group{OLESTR("Group"), 100, false, 7, 0.0F};

    HRESULT connect() { return server.connectOPCServer(OpxString(), CLSID_KorvexSimulation); }
    HRESULT connectWithGroup() {
        const HRESULT hr = connect();
        return failed(hr) ? hr : server.addGroup(&group);
    }

    // The server handle of an item; 0 if it was refused.
    std::uint32_t add(const OLECHAR* name, Opx::VType type = Opx::VType::Empty) {
        std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(name, type)};
        items[0].clientHandle = ++lastItem;
        Codes ignored;
        group.addItems(items, ignored, false);
        return items[0].serverHandle;
    }

    // One item, read from the device as its own type or `type`.
    HRESULT read(std::uint32_t handle, std::uint32_t maxAge = 0, Opx::VType type = Opx::VType::Empty) {
        return group.read(maxAge, {handle}, {type}, values, errors);
    }
    HRESULT write(std::uint32_t handle, const OpxOpc::OpxVariant& value, Opx::VType type = Opx::VType::Empty) {
        return group.write({handle}, {value}, {type}, errors);
    }

    // Registers a transaction, with the client's ID 77, of the item added last.
    std::uint32_t startTransaction(Opx::VType requested = Opx::VType::Empty) {
        const std::map<std::uint32_t, std::uint32_t> positions = {{lastItem, 0}};
        return group.registerTransaction(
            std::make_shared<OpxOpc::ComAsyncTransaction>(77, positions, Types{requested}, Handles{100 + lastItem}));
    }

    std::uint32_t lastItem = 0;
    Values values;
    Codes errors;
};

}  // namespace Korvex::Testing
