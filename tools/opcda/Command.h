// The common part of the tool's commands.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include <korvex/text.h>

namespace CLI {
class App;
}
namespace Korvex::OPC::OpcDaClient {
class OPCException;
}

namespace Korvex::Tool {

// The tool's exit statuses.
enum ExitStatus : int {
    kSuccess = 0,
    kItemsFailed = 1,  // the call was made, and at least one item has a result that is not a success
    kUsage = 2,
    kServerFailed = 3,  // the server could not be reached, or refused the whole call
};

// Where a command prints to: what was asked for, and what else there is to say.
struct Output {
    std::ostream& out;
    std::ostream& err;
    bool terminal;               // the former is one
    bool errorTerminal = false;  // the latter is one
};

// One of the tool's commands: its arguments are declared when it is made, filled in when the command line is parsed.
class Command {
public:
    Command(CLI::App& parent, const std::string& name, const std::string& description);
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    // Whether the command line names it.
    bool chosen() const;
    // Answers the tool's exit status.
    virtual int run(const Output& output) const = 0;

protected:
    CLI::App& command() noexcept { return *command_; }

private:
    CLI::App* command_;
};

// Returns the sentence about a failed call, with its code: not every code has a name.
std::string messageOf(const OPC::OpcDaClient::OPCException& error);

}  // namespace Korvex::Tool
