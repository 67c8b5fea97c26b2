// Reads and writes of a group, from the item in the server to the library's own values and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/opc/group/GroupFixture.h"
#include "tests/support/SimulationSteps.h"
#include "tests/support/rows.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::OpxVariant;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::int32_t kBadType = static_cast<std::int32_t>(0xC0040004u);

// A connection in a language of its own.
struct LocalConnection : Connection {
    explicit LocalConnection(const OLECHAR* language) {
        OpxString locale = language;
        EXPECT_EQ(connect(), S_OK);
        EXPECT_EQ(server.setLocalID(locale), S_OK);
        EXPECT_EQ(server.addGroup(&group), S_OK);
    }
};

class GroupValuesTest : public SimulationFixture {
protected:
    LocalConnection& in(const std::string& language) { return language == "de" ? german : english; }

    LocalConnection english{OLESTR("en")};
    LocalConnection german{OLESTR("de")};
};

// ---- Synchronous reads

TEST_F(GroupValuesTest, ValuesAreReadAsTheTypeAskedForInTheConnectionsLanguage) {
    for (const auto& row : rowsOf("opc/group/reads.txt", 7)) {
        SCOPED_TRACE(row[0] + " " + row[1] + " as " + row[2]);
        sim.reset();
        if (!row[0].empty()) sim.item(row[1], row[0]);
        LocalConnection& c = in(row[3]);
        const auto handle = c.add(fromUtf8(row[1]).c_str());
        const bool isRefused = row[6] != "0x0";
        for (const std::uint32_t maxAge : {0u, 500u}) {
            EXPECT_EQ(c.read(handle, maxAge, typeNumbered(row[2])), isRefused ? S_FALSE : S_OK);
            ASSERT_EQ(c.values.size(), 1u);
            EXPECT_EQ(toUtf8(c.values[0].value.toString()), row[4]);
            EXPECT_EQ(hex(c.values[0].quality), row[5]);
            EXPECT_EQ(isRefused ? hex(c.errors.at(0)) : hex(S_OK), row[6]);
            EXPECT_EQ(c.errors.size(), isRefused ? 1u : 0u);
        }
    }
}

TEST_F(GroupValuesTest, ReadsGoToTheDeviceOrByAgeAndSayWhatTheyGot) {
    sim.item("Constant.Double", "time 128488484967890000");
    const auto handle = english.add(OLESTR("Constant.Double"));
    const auto broken = english.add(OLESTR("Error.Read"));
    const auto sh = std::to_string(handle);
    struct Case {
        std::uint32_t maxAge;
        const char* method;
        const char* arguments;
    };
    for (const Case& each : {Case{0, "IOPCSyncIO::Read", "source=2 count=2"},
                             Case{500, "IOPCSyncIO2::ReadMaxAge", "count=2 maxage=500"}}) {
        sim.clearJournal();
        trace.clear();
        EXPECT_EQ(english.group.read(each.maxAge, {handle, broken}, {}, english.values, english.errors), S_FALSE);
        EXPECT_THAT(english.errors, ElementsAre(S_OK, E_FAIL));
        EXPECT_THAT(sim.journal(each.method), ElementsAre(HasSubstr(each.arguments)));
        const std::string method = each.method;
        EXPECT_THAT(trace.texts(),
                    ElementsAre("--> DaGroupMgt::read (handles)", "--> DaGroupMgtPrivate::read", "CALL " + method,
                                "DONE " + method + " [hr=0x1]", method + " returned 2 items",
                                "  Item[0] SH=" + sh + " Quality=0Xc0 Value=-2.25 TS=12:34:56,789",
                                "  Item[1] SH=" + std::to_string(broken) + " Error=0x80004005 - " + method + " FAILED",
                                "<-- DaGroupMgtPrivate::read [hr=0x1]", "<-- DaGroupMgt::read [hr=0x1]"));
    }
}

TEST_F(GroupValuesTest, ATimeBefore1970ReadsAsTheZeroDate) {
    sim.item("Constant.Double", "time 0");
    ASSERT_EQ(english.read(english.add(OLESTR("Constant.Double"))), S_OK);
    EXPECT_EQ(english.values[0].timestamp.time(), 0);
    EXPECT_EQ(english.values[0].timestamp.timezone(), 0);
}

// ---- Writes

TEST_F(GroupValuesTest, ValuesAreWrittenAsTheItemsTypeByEitherWayOfWriting) {
    for (const auto& row : rowsOf("opc/group/writes.txt", 7)) {
        SCOPED_TRACE(row[0] + " " + row[3]);
        LocalConnection& c = in(row[4]);
        c.group.connectCallback(c.sharedClient);
        const auto handle = c.add(fromUtf8(row[0]).c_str());
        const VType type = typeNumbered(row[1]);
        OpxVariant value = OpxVariant::of(fromUtf8(row[3]));
        value.changeType(typeNumbered(row[2]));
        const bool isRefused = !row[6].empty();
        const Codes expected = isRefused ? Codes{kBadType} : Codes();
        const auto readBack = [&] {
            EXPECT_EQ(c.read(handle), S_OK);
            return toUtf8(c.values.at(0).value.toString());
        };
        sim.reset();
        trace.clear();
        EXPECT_EQ(c.write(handle, value, type), isRefused ? S_FALSE : S_OK);
        EXPECT_EQ(c.errors, expected);
        EXPECT_EQ(trace.has("Error: DaGroupMgtPrivate::write - " + row[6]), isRefused);
        EXPECT_EQ(trace.has("  Item[0] SH=" + std::to_string(handle) + " Error=0xc0040004 - IOPCSyncIO::Write FAILED"),
                  isRefused);
        EXPECT_EQ(readBack(), row[5]);

        sim.reset();
        const auto told = c.client.writes().size();
        EXPECT_EQ(c.group.writeAsync(c.startTransaction(), {handle}, {value}, {type}, c.errors), S_OK);
        ASSERT_TRUE(c.client.waitForWrites(told + 1));
        EXPECT_EQ(c.client.writes().back().errors, expected);
        EXPECT_EQ(c.client.writes().back().id, 77u);
        EXPECT_EQ(trace.has("Error: DaGroupMgtPrivate::writeAsync - " + row[6]), isRefused);
        EXPECT_EQ(readBack(), row[5]);
    }
}

// ---- Servers that answer nonsense

TEST_F(GroupValuesTest, ArraysThatASuccessfulCallLeavesOutCostTheItemsOnly) {
    struct Case {
        const char* method;
        HRESULT (*call)(Connection&, std::uint32_t handle);
        bool answersItems;  // beside the codes
    };
    using On = Connection&;
    static const auto adding = [](On c, bool validateOnly) {
        std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Double"))};
        return c.group.addItems(items, c.errors, validateOnly);
    };
    static const auto readAsync = [](On c, std::uint32_t handle, std::uint32_t maxAge) {
        return c.group.readAsync(c.startTransaction(), maxAge, {handle}, c.errors);
    };
    const Case cases[] = {
        {"IOPCItemMgt::AddItems", [](On c, std::uint32_t) { return adding(c, false); }, true},
        {"IOPCItemMgt::ValidateItems", [](On c, std::uint32_t) { return adding(c, true); }, true},
        {"IOPCItemMgt::RemoveItems",
         [](On c, std::uint32_t) {
             std::vector<OpxOpc::OpxItemIdentifier> items(1);
             items[0].serverHandle = c.add(OLESTR("Constant.Double"));
             return c.group.removeItems(items, c.errors);
         },
         false},
        {"IOPCSyncIO::Read", [](On c, std::uint32_t handle) { return c.read(handle); }, true},
        {"IOPCSyncIO2::ReadMaxAge", [](On c, std::uint32_t handle) { return c.read(handle, 500); }, true},
        {"IOPCSyncIO::Write", [](On c, std::uint32_t handle) { return c.write(handle, OpxVariant::of(1)); }, false},
        {"IOPCAsyncIO2::Read", [](On c, std::uint32_t handle) { return readAsync(c, handle, 0); }, false},
        {"IOPCAsyncIO3::ReadMaxAge", [](On c, std::uint32_t handle) { return readAsync(c, handle, 500); }, false},
        {"IOPCAsyncIO2::Write",
         [](On c, std::uint32_t handle) {
             return c.group.writeAsync(c.startTransaction(), {handle}, {OpxVariant::of(1)}, {}, c.errors);
         },
         false}};
    ASSERT_EQ(english.group.connectCallback(english.sharedClient), S_OK);
    const auto handle = english.add(OLESTR("Register.Int32"));
    for (const Case& each : cases) {
        for (const std::string kind : {"null", "null-values", "null-errors"}) {
            SCOPED_TRACE(std::string(each.method) + " " + kind);
            sim.answer(each.method, kind);
            const bool costsItems = kind == "null-errors" || each.answersItems;
            EXPECT_EQ(each.call(english, handle), costsItems ? S_FALSE : S_OK);
            EXPECT_EQ(english.errors, costsItems ? Codes{E_FAIL} : Codes());
        }
        sim.execute(std::string("answer ") + each.method);
    }
}

TEST_F(GroupValuesTest, AnItemsCanonicalTypeThatHasNoTagIsNoRequest) {
    sim.item("Register.Int32", "canonical 9");
    std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Register.Int32"))};
    ASSERT_EQ(english.group.addItems(items, english.errors, false), S_OK);
    EXPECT_EQ(items[0].dataType, VType::Unknown);
    EXPECT_EQ(english.read(items[0].serverHandle, 0, items[0].dataType), S_OK);
    EXPECT_EQ(english.write(items[0].serverHandle, OpxVariant::of(std::int32_t{8}), items[0].dataType), S_OK);
}

}  // namespace
}  // namespace Korvex::Testing
