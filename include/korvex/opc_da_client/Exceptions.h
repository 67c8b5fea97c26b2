// The exceptions of the object API.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include <korvex/export.h>
#include <korvex/opc_da_client/NullableText.h>
#include <korvex/opc_da_client/ResultID.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// Base of all of them.
class KORVEX_OPC_API Exception : public std::exception {
public:
    /// An exception with a message.
    explicit Exception(const NullableText& message);
    ~Exception() override;

    /// The message.
    const OpxString& Message() const noexcept { return m_Message; }
    /// The message in UTF-8.
    const char* what() const noexcept override;

private:
    OpxString m_Message;
    std::string m_What;
};

/// An argument that a method does not accept; thrown before the server is asked anything.
class KORVEX_OPC_API ArgumentException : public Exception {
public:
    /// An exception about the parameter `paramName`.
    ArgumentException(const NullableText& message, const NullableText& paramName);
    ~ArgumentException() override;

    /// The parameter's name, or those of two parameters with "+" between them.
    const OpxString& ParamName() const noexcept { return m_ParamName; }

private:
    OpxString m_ParamName;
};

/// An argument that must not be null is.
class KORVEX_OPC_API ArgumentNullException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ~ArgumentNullException() override;
};

/// A number lies outside the range that is told in the message.
class KORVEX_OPC_API ArgumentOutOfRangeException : public ArgumentException {
public:
    using ArgumentException::ArgumentException;
    ~ArgumentOutOfRangeException() override;
};

/// A call failed as a whole. What became of single items is never thrown.
class KORVEX_OPC_API OPCException : public Exception {
public:
    /// The message is the result's description,
    explicit OPCException(const OpcDaClient::ResultID& result);
    /// followed by " - " and `message`.
    OPCException(const OpcDaClient::ResultID& result, const NullableText& message);
    ~OPCException() override;

    /// The result of the call.
    const OpcDaClient::ResultID& ResultID() const noexcept { return m_Result; }

private:
    OpcDaClient::ResultID m_Result;
};

/// Thrown by OpcServerEnum when a call fails.
class KORVEX_OPC_API ComException : public Exception {
public:
    /// An exception about an HRESULT.
    explicit ComException(std::int32_t errorCode);
    ~ComException() override;

    /// The HRESULT.
    std::int32_t ErrorCode() const noexcept { return m_ErrorCode; }

private:
    std::int32_t m_ErrorCode;
};

/// Something was used that is not there: the connect info of a connection, a disposed object.
class KORVEX_OPC_API NullReferenceException : public Exception {
public:
    NullReferenceException();
    ~NullReferenceException() override;
};

/// A handle was looked up that nobody has.
class KORVEX_OPC_API KeyNotFoundException : public Exception {
public:
    KeyNotFoundException();
    ~KeyNotFoundException() override;
};

}  // namespace Korvex::OPC::OpcDaClient
