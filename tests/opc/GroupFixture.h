// A connection to the simulation server with one group on it.
#pragma once

#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "opc/DaGroupMgt.h"
#include "opc/DaServerMgt.h"
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
    OpxOpc::DaServerMgt server;
    OpxOpc::DaGroupMgt group{OLESTR("Group"), 100, false, 7, 0.0F};
    RecordingCallback client;

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

// A server or group operation that goes wrong: what is switched on before it, what it answers and what
// it writes to the trace.
struct Failure {
    const char* name;
    std::vector<std::string> commands;
    HRESULT (*call)(Connection&);
    HRESULT result;
    std::vector<std::string> lines;
};

inline void PrintTo(const Failure& failure, std::ostream* out) {
    *out << failure.name;
}

// Carries the row out on a connection that the commands find in place.
inline void expectFailure(const Failure& failure, SimulationControl& sim, const TraceCapture& trace,
                          Connection& connection) {
    for (const std::string& command : failure.commands) sim.execute(command);
    EXPECT_EQ(hex(failure.call(connection)), hex(failure.result));
    for (const std::string& line : failure.lines) EXPECT_TRUE(trace.has(line)) << line << "\n" << trace.dump();
}

class FailureTest : public SimulationFixture, public ::testing::WithParamInterface<Failure> {};

inline std::string failureName(const ::testing::TestParamInfo<Failure>& info) {
    std::string name = info.param.name;
    for (char& c : name) {
        if (c == ' ') c = '_';
    }
    return name;
}

}  // namespace Korvex::Testing
