#include "api/CallbackWrapper.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

TEST(CallbackWrapper, IgnoresACallbackWhoseFunctionIsNotConnected) {
    CallbackWrapper wrapper;
    wrapper.ConnectStateChange({});
    wrapper.ServerStatusChange(1, OpxOpc::SERVERSTATUS_CONNECTED);
    wrapper.DataChange(1, 0, 0, 0, {}, {}, {});
    wrapper.ReadComplete(1, 0, 0, 0, {}, {}, {});
    wrapper.WriteComplete(1, 0, 0, {}, {});
}

TEST(CallbackWrapper, HandsArgumentsOnAndKeepsExceptionsToItself) {
    CallbackWrapper wrapper;
    std::vector<std::uint32_t> seen;
    wrapper.ConnectStateChange([&](std::uint32_t handle, OpxOpc::ServerStatus status) {
        seen = {handle, static_cast<std::uint32_t>(status)};
        throw std::runtime_error("of the application");
    });
    wrapper.ServerStatusChange(7, OpxOpc::SERVERSTATUS_SHUTDOWN);
    EXPECT_EQ(seen, (std::vector<std::uint32_t>{7, 1}));

    wrapper.ConnectReadComplete([&](std::uint32_t transaction, std::int32_t quality, std::int32_t error,
                                    std::uint32_t count, const std::vector<std::uint32_t>& handles,
                                    const std::vector<OpxOpc::OpxItemValue>& values,
                                    const std::vector<std::int32_t>& errors) {
        seen = {
            transaction,   static_cast<std::uint32_t>(quality),       static_cast<std::uint32_t>(error),       count,
            handles.at(0), static_cast<std::uint32_t>(values.size()), static_cast<std::uint32_t>(errors.at(0))};
        throw 5;
    });
    wrapper.ReadComplete(1, 2, 3, 4, {5}, std::vector<OpxOpc::OpxItemValue>(6), {7});
    EXPECT_EQ(seen, (std::vector<std::uint32_t>{1, 2, 3, 4, 5, 6, 7}));
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
