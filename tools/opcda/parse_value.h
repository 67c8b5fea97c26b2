// Values from the command line.
#pragma once

#include <stdexcept>
#include <string>

#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/Type.h>

namespace Korvex::Tool {

// The text is not a value of the type.
class ValueError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// `text`, in UTF-8, as a value of `type`: numbers with a point, "true" and "false", dates in ISO 8601, arrays
// as "{1|2|3}"; "|" cannot be part of an element. The null type, Kind::Object and an array of it take
// text as it is, for the server to convert.
OPC::OpcDaClient::Object parseValue(const std::string& text, const OPC::OpcDaClient::Type& type);

// The type of a name as `opcda read` prints it, "Int32" or "Double[]", in any case. Throws ValueError.
OPC::OpcDaClient::Type parseType(const std::string& name);

}  // namespace Korvex::Tool
