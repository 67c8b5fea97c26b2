// The refusals of bad arguments.
#pragma once

#include <korvex/opc_da_client/NullableArray.h>

namespace Korvex::OPC::OpcDaClient {

// Each traces an error and throws; none returns. Parameter names are ASCII.

// ArgumentNullException: "Value must not be null."
[[noreturn]] void HandleNullReference(const char* parameterName);

// ArgumentOutOfRangeException for a number below 0, though not for 0: "The value must be positive."
[[noreturn]] void HandleNegativeNumber(const char* parameterName);

// ArgumentOutOfRangeException: "The value must be between 0 and 100."
[[noreturn]] void HandleDeadband(const char* parameterName);

// ArgumentException: "String must not be empty."
[[noreturn]] void HandleEmptyString(const char* parameterName);

// ArgumentException: "Array must not be empty."
[[noreturn]] void HandleEmptyArray(const char* parameterName);

// ArgumentException that names both parameters: "The lengths of the arrays have to be equal."
[[noreturn]] void HandleDifferentLengths(const char* parameterName1, const char* parameterName2);

// Refuses a null and an empty array.
template <typename T>
void CheckArray(const NullableArray<T>& array, const char* parameterName) {
    if (array.isNull()) HandleNullReference(parameterName);
    if (array.size() == 0) HandleEmptyArray(parameterName);
}

}  // namespace Korvex::OPC::OpcDaClient
