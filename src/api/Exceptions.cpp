#include <korvex/opc_da_client/Exceptions.h>

#include "trace/TraceText.h"

namespace Korvex::OPC::OpcDaClient {

Exception::Exception(const NullableText& message) : m_Message(message.valueOrEmpty()), m_What(toUtf8(m_Message)) {}

ArgumentException::ArgumentException(const NullableText& message, const NullableText& paramName)
    : Exception(message), m_ParamName(paramName.valueOrEmpty()) {}

OPCException::OPCException(const OpcDaClient::ResultID& result)
    : Exception(OpxString(result.Description())), m_Result(result) {}

OPCException::OPCException(const OpcDaClient::ResultID& result, const NullableText& message)
    : Exception(OpxString(result.Description()) + OLESTR(" - ") + message.valueOrEmpty()), m_Result(result) {}

ComException::ComException(std::int32_t errorCode)
    : Exception(OpxOpc::traceText("The call failed with result 0x%08X.", errorCode)), m_ErrorCode(errorCode) {}

NullReferenceException::NullReferenceException() : Exception(OLESTR("A null reference was used.")) {}

KeyNotFoundException::KeyNotFoundException() : Exception(OLESTR("The handle is not known.")) {}

const char* Exception::what() const noexcept {
    return m_What.c_str();
}

// Here and not in the header, so that the type of an exception is one in all modules of a process.
Exception::~Exception() = default;
ArgumentException::~ArgumentException() = default;
ArgumentNullException::~ArgumentNullException() = default;
ArgumentOutOfRangeException::~ArgumentOutOfRangeException() = default;
OPCException::~OPCException() = default;
ComException::~ComException() = default;
NullReferenceException::~NullReferenceException() = default;
KeyNotFoundException::~KeyNotFoundException() = default;

}  // namespace Korvex::OPC::OpcDaClient
