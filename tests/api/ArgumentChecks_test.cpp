#include "api/ArgumentChecks.h"

#include <functional>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>
#include <korvex/opc_da_client/Exceptions.h>

#include "tests/support/TraceCapture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

TEST(ArgumentChecks, EachTracesAnErrorAndThrowsItsException) {
    struct Case {
        std::function<void()> check;
        std::string trace;
        const std::type_info& type;
        std::string paramName;
        std::string message;
    };
    const Case table[] = {
        {[] { HandleNullReference("url"); },
         "EXC MCPP::DaServerMgt::HandleNullReference throwing ArgumentNullException.", typeid(ArgumentNullException),
         "url", "Value must not be null."},
        {[] { HandleNegativeNumber("maxAge"); },
         "EXC MCPP::DaServerMgt::HandleNegativeNumber throwing ArgumentOutOfRangeException.",
         typeid(ArgumentOutOfRangeException), "maxAge", "The value must be positive."},
        {[] { HandleDeadband("deadband"); },
         "EXC MCPP::DaServerMgt::HandleDeadband throwing ArgumentOutOfRangeException",
         typeid(ArgumentOutOfRangeException), "deadband", "The value must be between 0 and 100."},
        {[] { HandleEmptyString("url"); }, "EXC MCPP::DaServerMgt::HandleEmptyString throwing ArgumentException",
         typeid(ArgumentException), "url", "String must not be empty."},
        {[] { HandleEmptyArray("itemValues"); }, "EXC MCPP::DaServerMgt::HandleEmptyArray throwing ArgumentException",
         typeid(ArgumentException), "itemValues", "Array must not be empty."},
        {[] { HandleDifferentLengths("itemIdentifiers", "itemValues"); },
         "EXC MCPP::DaServerMgt::HandleDifferentLengths throwing ArgumentException", typeid(ArgumentException),
         "itemIdentifiers+itemValues", "The lengths of the arrays have to be equal."},
    };
    for (const Case& expected : table) {
        const Testing::TraceCapture trace;
        try {
            expected.check();
            ADD_FAILURE() << expected.trace;
        } catch (const ArgumentException& thrown) {
            EXPECT_EQ(typeid(thrown), expected.type) << expected.trace;
            EXPECT_EQ(toUtf8(thrown.ParamName()), expected.paramName);
            EXPECT_EQ(toUtf8(thrown.Message()), expected.message);
        }
        ASSERT_EQ(trace.lines().size(), 1u) << trace.dump();
        EXPECT_EQ(trace.lines()[0].text, expected.trace);
        EXPECT_EQ(trace.lines()[0].level, 1);
    }
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
