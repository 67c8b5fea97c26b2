#include "opc/apartment/Signal.h"

#include <chrono>
#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "opc/apartment/ApartmentMode.h"
#include "tests/com/TestObject.h"
#include "tests/support/fastest.h"

namespace OpxOpc {
namespace {

using namespace std::chrono_literals;
using Korvex::Com::ComPtr;
using Korvex::Testing::Apartment;
using Korvex::Testing::fastestOfFive;
using Korvex::Testing::TestObject;
using Time = std::chrono::steady_clock;

class SignalTest : public ::testing::TestWithParam<Signal::Messages> {};

INSTANTIATE_TEST_SUITE_P(Apartments, SignalTest, ::testing::Values(Signal::Messages::Leave, Signal::Messages::Take));

TEST_P(SignalTest, AWaitEndsWithTheChangeAndNotLater) {
    const auto fastest = fastestOfFive([] {
        Signal signal;
        int round = 0;
        std::thread other([&] {
            for (int i = 1; i <= 50; ++i) {
                signal.wait([&] { return round == 2 * i - 1; });
                signal.change([&] { ++round; });
            }
        });
        for (int i = 1; i <= 50; ++i) {
            signal.change([&] { ++round; });
            EXPECT_TRUE(signal.wait([&] { return round == 2 * i; }, Signal::kForever, GetParam()));
        }
        other.join();
    });
    EXPECT_LT(fastest, 250ms) << "looking around every 10 ms would take twice as long";
}

TEST_P(SignalTest, AWaitEndsAfterItsLimit) {
    Signal signal;
    const auto begun = Time::now();
    EXPECT_FALSE(signal.wait([] { return false; }, 30ms, GetParam()));
    EXPECT_GE(Time::now() - begun, 30ms);
    EXPECT_FALSE(signal.wait([] { return false; }, 0ms, GetParam()));
    EXPECT_TRUE(signal.wait([] { return true; }, 0ms, GetParam()));
}

// An object that lives in the apartment of a waiting thread can be called all the time.
TEST(SignalMessages, AWaitingApartmentTakesCallsAsTheyCome) {
    Signal done;
    bool isDone = false;
    std::promise<DWORD> kept;
    std::thread owner([&] {
        const Apartment apartment(COINIT_APARTMENTTHREADED);
        const ApartmentShare singleThreaded;
        TestObject object;
        ComPtr<IGlobalInterfaceTable> table;
        ASSERT_EQ(ApartmentMode::createInterfaceTable(table), S_OK);
        DWORD cookie = 0;
        ASSERT_EQ(table->RegisterInterfaceInGlobal(&object, IID_IClassFactory, &cookie), S_OK);
        kept.set_value(cookie);
        done.wait([&] { return isDone; });
        table->RevokeInterfaceFromGlobal(cookie);
    });
    std::thread caller([&] {
        const Apartment apartment(COINIT_MULTITHREADED);
        ComPtr<IGlobalInterfaceTable> table;
        ASSERT_EQ(ApartmentMode::createInterfaceTable(table), S_OK);
        ComPtr<IClassFactory> object;
        ASSERT_EQ(table->GetInterfaceFromGlobal(kept.get_future().get(), IID_IClassFactory, object.putVoid()), S_OK);
        const auto fastest = fastestOfFive([&] {
            for (int i = 0; i < 50; ++i) {
                ComPtr<IClassFactory> made;
                EXPECT_EQ(object->CreateInstance(nullptr, IID_IClassFactory, made.putVoid()), S_OK);
            }
        });
        EXPECT_LT(fastest, 250ms);
        object.release();
        done.change([&] { isDone = true; });
    });
    caller.join();
    owner.join();
}

}  // namespace
}  // namespace OpxOpc
