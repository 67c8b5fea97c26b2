// Prints what happens to watched items, a line each, as it happens.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <korvex/opc_da_client/ItemIdentifier.h>
#include <korvex/opc_da_client/ItemValueCallback.h>
#include <korvex/opc_da_client/ServerState.h>

#include "Command.h"
#include "com/Mutex.h"
#include "json.h"

namespace Korvex::Tool {

// Prints "time item value quality", or JSON objects. Every line is flushed. May be called by several
// threads at once.
class ChangePrinter {
public:
    enum class Form { Text, JsonLines };

    // The client handle of an item is its index in `items`. After `limit` changes nothing more is printed.
    ChangePrinter(const Output& output, Form form, std::vector<std::string> items, std::optional<std::int32_t> limit);

    void changes(const std::vector<OPC::OpcDaClient::ItemValueCallback>& items);
    void state(OPC::OpcDaClient::ServerState state);
    void refused(const OPC::OpcDaClient::ItemIdentifier& item);

    // Whether the limit is reached, or nothing can be printed any more.
    bool finished() const;

private:
    struct Change;

    void print(const Change& change) REQUIRES(lock_);
    void printText(const std::string& text) REQUIRES(lock_);
    void printRecord(const Json& record) REQUIRES(lock_);
    void printLine(const std::string& line) REQUIRES(lock_);
    bool isFinished() const REQUIRES(lock_);

    const Output output_;
    const Form form_;
    const std::vector<std::string> items_;
    std::size_t itemWidth_ = 0;  // set by the constructor
    std::optional<std::int32_t> changesLeft_ GUARDED_BY(lock_);
    mutable Korvex::Mutex lock_;
};

}  // namespace Korvex::Tool
