// opcda watch URL ITEM...
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "ChangePrinter.h"
#include "Command.h"
#include "Interruption.h"
#include "ServerArguments.h"

namespace Korvex::Tool {

// Prints the changes of items and of the connection's state until it is interrupted, or enough has been
// seen. A server that goes away is waited for.
class WatchCommand final : public Command {
public:
    explicit WatchCommand(CLI::App& parent);

    int run(const Output& output) const override;

private:
    void connect(OPC::OpcDaClient::DaServerMgt& server) const;
    // Answers how many items the server refused.
    std::size_t subscribe(OPC::OpcDaClient::DaServerMgt& server, ChangePrinter& printer, const Output& output) const;
    void waitForEnd(const ChangePrinter& printer, const Interruption& interruption) const;

    ServerArguments server_;
    std::vector<std::string> items_;
    std::int32_t rate_ = 1000;
    float deadband_ = 0;
    std::optional<std::int32_t> count_;
    std::optional<std::int32_t> duration_;
    std::int32_t keepAlive_ = 10000;
    bool json_ = false;
};

}  // namespace Korvex::Tool
