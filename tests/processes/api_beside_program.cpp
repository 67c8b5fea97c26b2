// The object API's tests beside the program keep the interfaces that it calls them by.
#include <cstdlib>
#include <optional>

#include <gtest/gtest.h>

#include "tests/processes/KeptInterfaces.h"

namespace Korvex::Testing {
namespace {

class BesideProgram final : public ::testing::Environment {
public:
    void SetUp() override {
        if (std::getenv("KORVEX_TEST_SERVER") != nullptr) interfaces_.emplace();
    }
    void TearDown() override { interfaces_.reset(); }

private:
    std::optional<KeptInterfaces> interfaces_;
};

const auto* const kBesideProgram = ::testing::AddGlobalTestEnvironment(new BesideProgram);

}  // namespace
}  // namespace Korvex::Testing
