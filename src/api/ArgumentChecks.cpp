#include "api/ArgumentChecks.h"

#include <string>

#include <korvex/opc_da_client/Exceptions.h>

#include "trace/LibT.h"

namespace Korvex::OPC::OpcDaClient {

using OpxOpc::LibT;

void HandleNullReference(const char* parameterName) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleNullReference throwing ArgumentNullException.");
    throw ArgumentNullException("Value must not be null.", parameterName);
}

void HandleNegativeNumber(const char* parameterName) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleNegativeNumber throwing ArgumentOutOfRangeException.");
    throw ArgumentOutOfRangeException("The value must be positive.", parameterName);
}

void HandleDeadband(const char* parameterName) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleDeadband throwing ArgumentOutOfRangeException");
    throw ArgumentOutOfRangeException("The value must be between 0 and 100.", parameterName);
}

void HandleEmptyString(const char* parameterName) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleEmptyString throwing ArgumentException");
    throw ArgumentException("String must not be empty.", parameterName);
}

void HandleEmptyArray(const char* parameterName) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleEmptyArray throwing ArgumentException");
    throw ArgumentException("Array must not be empty.", parameterName);
}

void HandleDifferentLengths(const char* parameterName1, const char* parameterName2) {
    LibT::lError("EXC MCPP::DaServerMgt::HandleDifferentLengths throwing ArgumentException");
    throw ArgumentException("The lengths of the arrays have to be equal.",
                            std::string(parameterName1) + "+" + parameterName2);
}

}  // namespace Korvex::OPC::OpcDaClient
