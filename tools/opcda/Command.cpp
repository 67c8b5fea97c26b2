#include "Command.h"

#include <charconv>

#include <korvex/opc_da_client/Exceptions.h>

namespace Korvex::Tool {

using namespace OPC::OpcDaClient;

std::string messageOf(const OPCException& error) {
    char digits[8];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(error.ResultID().Code()), 16).ptr;
    return std::string(error.what()) + " (" + toUtf8(error.ResultID().Name()) + ", 0x" + std::string(digits, end) + ")";
}

}  // namespace Korvex::Tool
