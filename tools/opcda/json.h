// Values of the object API as JSON.
#pragma once

#include <nlohmann/json.hpp>

#include <korvex/opc_da_client/Object.h>

namespace Korvex::Tool {

using Json = nlohmann::ordered_json;

// Numbers that JSON cannot hold exactly in every reader (64-bit integers outside 2^53, decimals, NaN
// and infinities) become text, dates ISO 8601 text.
Json toJson(const OPC::OpcDaClient::Object& value);

// In one line without `indent`, else in lines indented by so many blanks. Text that is not UTF-8 gets
// replacement characters; a `terminal` gets ASCII alone, for no text of a server may steer it.
std::string dump(const Json& value, bool terminal, int indent = -1);

}  // namespace Korvex::Tool
