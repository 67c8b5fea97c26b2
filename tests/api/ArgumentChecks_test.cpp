// Every method's refusals of its arguments.
#include <functional>
#include <limits>
#include <string>
#include <typeinfo>
#include <utility>

#include <gtest/gtest.h>

#include "tests/api/ApiFixture.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

struct Refusal {
    const std::type_info* type;
    const char* message;
    const char* trace;  // the function that throws and what; nothing where no function does
};
const Refusal kNull = {&typeid(ArgumentNullException), "Value must not be null.",
                       "HandleNullReference throwing ArgumentNullException."};
const Refusal kNegative = {&typeid(ArgumentOutOfRangeException), "The value must be positive.",
                           "HandleNegativeNumber throwing ArgumentOutOfRangeException."};
const Refusal kDeadband = {&typeid(ArgumentOutOfRangeException), "The value must be between 0 and 100.",
                           "HandleDeadband throwing ArgumentOutOfRangeException"};
const Refusal kNoText = {&typeid(ArgumentException), "String must not be empty.",
                         "HandleEmptyString throwing ArgumentException"};
const Refusal kEmpty = {&typeid(ArgumentException), "Array must not be empty.",
                        "HandleEmptyArray throwing ArgumentException"};
const Refusal kLengths = {&typeid(ArgumentException), "The lengths of the arrays have to be equal.",
                          "HandleDifferentLengths throwing ArgumentException"};
const Refusal kNullIds = {&typeid(ArgumentNullException), "Value must not be null.", ""};
const Refusal kNoIds = {&typeid(ArgumentException), "propertyIDs must not be empty, if returnAllProperties is false",
                        ""};

using Call = std::function<void()>;

class ArgumentChecks : public ApiFixture {
protected:
    Call connecting(const NullableText& url) {
        return [this, url] { server.Connect(url, 7, &info, connectFailed); };
    }
    Call subscribing(NullableArray<ItemIdentifier>& list, std::int32_t rate, float deadband) {
        return [this, &list, rate, deadband] { server.Subscribe(1, true, rate, revised, deadband, list, handle); };
    }
    Call modifying(auto... settings) {
        return [this, settings...] { server.SubscriptionModify(1, settings...); };
    }
    Call modifying(bool active, std::int32_t rate, float deadband) {
        return [=, this] { server.SubscriptionModify(1, active, rate, revised, deadband); };
    }
    Call browsing(const NullableText& itemName, NullableText from, std::int32_t most) {
        return [=, this]() mutable {
            server.Browse(itemName, nullptr, from, most, BrowseFilter::ALL, nullptr, true, true, elements, more);
        };
    }
    Call asking(NullableArray<ItemIdentifier>& list, const NullableArray<std::int32_t>& ids) {
        return [=, this, &list] { server.GetProperties(list, ids, false, true, properties); };
    }

    NullableArray<ItemIdentifier> null;
    NullableArray<ItemIdentifier> empty = std::vector<ItemIdentifier>();
    NullableArray<ItemIdentifier> one = {item("Register.Int32")};
    NullableArray<BrowseElement> elements;
    NullableArray<ItemProperties> properties;
    bool more = false;
};

TEST_F(ArgumentChecks, RefuseInTheirOrderBeforeTheServerIsAsked) {
    const NullableArray<ItemValue> noValues;
    const NullableArray<ItemValue> emptyValues = std::vector<ItemValue>();
    const NullableArray<ItemValue> twoValues = {value(1), value(2)};
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::string kItems = "itemIdentifiers";
    const struct {
        Call call;
        const Refusal& refusal;
        std::string parameter;
    } table[] = {
        {connecting(nullptr), kNull, "url"},
        {connecting(""), kNoText, "url"},
        {[&] { server.Read(-1, null, values); }, kNull, kItems},
        {[&] { server.Read(-1, empty, values); }, kEmpty, kItems},
        {[&] { server.Read(-1, one, values); }, kNegative, "maxAge"},
        {[&] { server.Write(null, noValues); }, kNull, kItems},
        {[&] { server.Write(empty, noValues); }, kEmpty, kItems},
        {[&] { server.ReadAsync(1, -1, null); }, kNull, kItems},
        {[&] { server.ReadAsync(1, -1, empty); }, kEmpty, kItems},
        {[&] { server.ReadAsync(1, -1, one); }, kNegative, "maxAge"},
        {[&] { server.WriteAsync(1, null, noValues); }, kNull, kItems},
        {[&] { server.WriteAsync(1, one, noValues); }, kNull, "itemValues"},
        {[&] { server.WriteAsync(1, one, emptyValues); }, kEmpty, "itemValues"},
        {[&] { server.WriteAsync(1, one, twoValues); }, kLengths, "itemIdentifiers+itemValues"},
        {subscribing(null, -1, -1), kNull, kItems},
        {subscribing(empty, -1, -1), kEmpty, kItems},
        {subscribing(one, -1, -1), kNegative, "updateRate"},
        {subscribing(one, 0, -0.01f), kDeadband, "deadband"},
        {subscribing(one, 0, 100.01f), kDeadband, "deadband"},
        {modifying(100.01), kDeadband, "deadband"},
        {modifying(-1.0f), kDeadband, "deadband"},
        {modifying(1e300), kDeadband, "deadband"},
        {modifying(-kInfinity), kDeadband, "deadband"},
        {[&] { server.SubscriptionModify(1, -1, revised); }, kNegative, "updateRate"},
        {modifying(true, -1, -1.0f), kNegative, "updateRate"},
        {modifying(true, 0, 100.01f), kDeadband, "deadband"},
        {[&] { server.SubscriptionAddItems(1, null); }, kNull, kItems},
        {[&] { server.SubscriptionAddItems(1, empty); }, kEmpty, kItems},
        {[&] { server.SubscriptionRemoveItems(1, null); }, kNull, kItems},
        {[&] { server.SubscriptionRemoveItems(1, empty); }, kEmpty, kItems},
        {browsing(nullptr, nullptr, -1), kNull, "itemName"},
        {browsing("", nullptr, -1), kNull, "continuationPoint"},
        {browsing("", "", -1), kNegative, "maxElementsReturned"},
        {asking(null, nullptr), kNull, kItems},
        {asking(one, nullptr), kNullIds, "propertyIDs must not be null, if returnAllProperties is false"},
        {asking(one, std::vector<std::int32_t>()), kNoIds, ""},
    };
    connect();
    sim.clearJournal();
    for (const auto& [call, refusal, parameter] : table) {
        SCOPED_TRACE(std::string(refusal.message) + " " + parameter);
        trace.clear();
        try {
            call();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const ArgumentException& thrown) {
            EXPECT_EQ(typeid(thrown), *refusal.type);
            EXPECT_EQ(toUtf8(thrown.ParamName()), parameter);
            EXPECT_EQ(toUtf8(thrown.Message()), refusal.message);
        }
        std::vector<std::string> errors;
        for (const auto& line : trace.lines()) {
            if (line.level == 1) errors.push_back(line.text);
        }
        const std::string expected = std::string("EXC MCPP::DaServerMgt::") + refusal.trace;
        EXPECT_EQ(errors, *refusal.trace ? std::vector{expected} : std::vector<std::string>());
    }
    EXPECT_THROW(server.Write(one, noValues), NullReferenceException);
    EXPECT_EQ(opcCodeOf([&] { server.Write(one, twoValues); }), E_INVALIDARG);
    EXPECT_EQ(opcCodeOf(connecting("opcda:x")), E_FAIL) << "the library's first refusal is another";
    EXPECT_TRUE(sim.journal().empty());
}

TEST_F(ArgumentChecks, PassWhatTheyMayToTheLibraryWhichNeedsAConnection) {
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    for (const Call& call :
         {connecting("opcda:x"), Call([&] { server.Read(0, one, values); }), subscribing(one, 0, 100),
          subscribing(one, 0, static_cast<float>(kNan)), modifying(100.0), modifying(100.000000001), modifying(kNan),
          modifying(true), modifying(true, 0, 0.0f), browsing("", "", 0), asking(one, {1}),
          Call([&] { server.GetProperties(one, nullptr, true, true, properties); })}) {
        EXPECT_EQ(opcCodeOf(call), E_FAIL);
    }
}

TEST_F(ArgumentChecks, ACallThatFailsTellsTheServersCodeAndTouchesNoArgument) {
    NullableText point = "";
    NullableArray<ItemIdentifier> other = {item("Constant.Double")};
    const Call calls[] = {
        [&] { read({item("Constant.Int32")}); },
        [&] { server.Write(one, {value(1)}); },
        [&] { server.ReadAsync(1, 0, one); },
        [&] { server.WriteAsync(1, one, {value(1)}); },
        [&] { server.Subscribe(2, true, 1, revised, 0, one, handle); },
        [&] { server.SubscriptionModify(handle, 1, revised); },
        [&] { server.SubscriptionModify(handle, true, 1, revised, 0); },
        [&] { server.SubscriptionAddItems(handle, other); },
        [&] { server.SubscriptionRemoveItems(handle, one); },
        [&] { server.Browse("", nullptr, point, 0, BrowseFilter::ALL, nullptr, false, false, elements, more); },
        [&] { server.GetProperties(one, nullptr, true, true, properties); },
        [&] { server.SubscriptionModify(handle, 2.5); },
        [&] { server.SubscriptionCancel(handle); },
    };
    connect();
    subscribe({item("Register.Int32")}, false);
    const std::int32_t subscription = handle;
    one[0].ResultID(ResultID::OPC_S_CLAMP);
    one[0].DataType(Type::of<bool>());
    other = one;
    revised = 4711;
    sim.execute("dead");
    for (const Call& call : calls) {
        SCOPED_TRACE(&call - calls);
        EXPECT_EQ(opcCodeOf(call), hresult(0x800706BAu));
        for (const auto& list : {one, other}) {
            EXPECT_EQ(list[0].ResultID(), ResultID::OPC_S_CLAMP);
            EXPECT_EQ(list[0].DataType(), Type::of<bool>());
            EXPECT_EQ(list[0].ServerHandle(), 0);
        }
        EXPECT_EQ(handle, subscription);
        EXPECT_EQ(revised, 4711);
        EXPECT_TRUE(values.isNull() && elements.isNull() && properties.isNull());
    }
}

}  // namespace
}  // namespace Korvex::OPC::OpcDaClient
