// Reads and writes of a group, from the item in the server to the library's own values and back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/opc/group/GroupFixture.h"

namespace Korvex::Testing {
namespace {

using Opx::VType;
using OpxOpc::OpxVariant;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr std::int32_t kBadType = static_cast<std::int32_t>(0xC0040004u);
constexpr std::int32_t kBadRights = static_cast<std::int32_t>(0xC0040006u);
constexpr std::int32_t kInvalidHandle = static_cast<std::int32_t>(0xC0040001u);
constexpr std::int32_t kOverflow = static_cast<std::int32_t>(0x8002000Au);
constexpr std::int32_t kTypeMismatch = static_cast<std::int32_t>(0x80020005u);

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
    LocalConnection english{OLESTR("en")};
    LocalConnection german{OLESTR("de")};
};

// ---- Synchronous reads

struct ReadCase {
    const char* name;
    std::string command;  // for the item
    const OLECHAR* item;
    VType type;
    bool inGerman;
    const char* text;
    std::int32_t quality;
    std::int32_t error;
};

TEST_F(GroupValuesTest, ValuesAreReadAsTheTypeAskedForInTheConnectionsLanguage) {
    const ReadCase cases[] = {
        {"own type", "", OLESTR("Constant.Double"), VType::Empty, false, "-2.25", 0xC0, S_OK},
        {"type without tag", "", OLESTR("Constant.Double"), VType::Unknown, false, "-2.25", 0xC0, S_OK},
        {"English", "", OLESTR("Constant.Double"), VType::String, false, "-2.25", 0xC0, S_OK},
        {"German", "", OLESTR("Constant.Double"), VType::String, true, "-2,25", 0xC0, S_OK},
        {"truth", "", OLESTR("Constant.Boolean"), VType::String, true, "True", 0xC0, S_OK},
        {"array", "", OLESTR("Constant.Int16Array"), VType::Empty, true, "{-32768|-1600|32767}", 0xC0, S_OK},
        {"bad quality", "", OLESTR("Quality.Bad"), VType::String, false, "42", 0x00, S_OK},
        {"limit", "", OLESTR("Quality.GoodHigh"), VType::String, false, "42", 0xC2, S_OK},
        {"text is no number", "", OLESTR("Constant.String"), VType::Int32, false, "", 0xC0, kTypeMismatch},
        {"no type for arrays", "", OLESTR("Constant.Int16Array"), VType::String, false, "", 0xC0, kTypeMismatch},
        {"refused", "", OLESTR("Error.Read"), VType::Empty, false, "", 0, E_FAIL},
        {"good but empty", "value 0", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"bad and empty", "value 0", OLESTR("Quality.Bad"), VType::Empty, false, "", 0, S_OK},
        {"null", "value 1", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"null as number", "value 1", OLESTR("Register.Int32"), VType::Int16, false, "", 0xC0, kTypeMismatch},
        {"error code", "value 10 5", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"integer without tag", "value 22 5", OLESTR("Register.Int32"), VType::Int32, false, "5", 0xC0, S_OK},
        {"object", "value 13", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"reference", "value 16387", OLESTR("Register.Int32"), VType::String, false, "", 0xC0, kBadType},
        {"two dimensions", "array2d", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"no array", "nullarray", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
        {"decimals", "value 8206 1.5,2", OLESTR("Register.Int32"), VType::Empty, false, "{1.5|2}", 0xC0, S_OK},
        {"decimals as what they were read as", "value 8206 1.5,2", OLESTR("Register.Int32"),
         Opx::arrayOf(VType::Decimal), false, "{1.5|2}", 0xC0, S_OK},
        {"no currency", "value 14 1e15", OLESTR("Register.Int32"), VType::Decimal, false, "", 0xC0, kOverflow},
        {"no currencies", "value 8206 1,1e15", OLESTR("Register.Int32"), Opx::arrayOf(VType::Decimal), false, "", 0xC0,
         kOverflow},
        {"no type at all", "value 4095 7", OLESTR("Register.Int32"), VType::Empty, false, "", 0xC0, kBadType},
    };
    for (const ReadCase& each : cases) {
        SCOPED_TRACE(each.name);
        sim.reset();
        if (!each.command.empty()) sim.item(toUtf8(each.item), each.command);
        LocalConnection& c = each.inGerman ? german : english;
        const auto handle = c.add(each.item);
        for (const std::uint32_t maxAge : {0u, 500u}) {
            const HRESULT hr = c.read(handle, maxAge, each.type);
            EXPECT_EQ(hr, each.error < 0 ? S_FALSE : S_OK);
            ASSERT_EQ(c.values.size(), 1u);
            EXPECT_EQ(toUtf8(c.values[0].value.toString()), each.text);
            EXPECT_EQ(c.values[0].quality, each.quality);
            EXPECT_EQ(c.errors, each.error < 0 ? Codes{each.error} : Codes());
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

struct WriteCase {
    const char* name;
    const OLECHAR* item;
    VType itemType;
    OpxVariant value;
    bool inGerman;
    const char* readBack;
    std::int32_t error;
    std::string line;
};

TEST_F(GroupValuesTest, ValuesAreWrittenAsTheItemsTypeByEitherWayOfWriting) {
    const std::string conversion = "value conversion error for item 0";
    const std::string copy = "value copy error for item 0";
    const WriteCase cases[] = {
        {"own type", OLESTR("Register.Int32"), VType::Int32, OpxVariant::of(std::int32_t{5}), false, "5", S_OK, ""},
        {"German text", OLESTR("Register.Double"), VType::Double, OpxVariant::of(OLESTR("2,5")), true, "2.5", S_OK, ""},
        {"text to array", OLESTR("Register.Int16Array"), Opx::arrayOf(VType::Int16), OpxVariant::of(OLESTR("{4|5}")),
         false, "{4|5}", S_OK, ""},
        {"not a number", OLESTR("Register.Int32"), VType::Int32, OpxVariant::of(OLESTR("x")), false, "0", kBadType,
         conversion},
        {"element not a number", OLESTR("Register.DoubleArray"), Opx::arrayOf(VType::Double),
         OpxVariant::of(OLESTR("{1|x}")), false, "{0|0|0}", kBadType, conversion},
        {"not an array", OLESTR("Register.Int16Array"), Opx::arrayOf(VType::Int16), OpxVariant::of(1.5), false,
         "{0|0|0}", kBadType, copy},
    };
    for (const WriteCase& each : cases) {
        SCOPED_TRACE(each.name);
        LocalConnection& c = each.inGerman ? german : english;
        c.group.connectCallback(c.sharedClient);
        const auto handle = c.add(each.item);
        const Codes expected = each.error < 0 ? Codes{each.error} : Codes();

        sim.reset();
        trace.clear();
        EXPECT_EQ(c.write(handle, each.value, each.itemType), each.error < 0 ? S_FALSE : S_OK);
        EXPECT_EQ(c.errors, expected);
        if (!each.line.empty()) {
            EXPECT_TRUE(trace.has("Error: DaGroupMgtPrivate::write - " + each.line));
            EXPECT_TRUE(
                trace.has("  Item[0] SH=" + std::to_string(handle) + " Error=0xc0040004 - IOPCSyncIO::Write FAILED"));
        }
        ASSERT_EQ(c.read(handle), S_OK);
        EXPECT_EQ(toUtf8(c.values[0].value.toString()), each.readBack);

        sim.reset();
        const auto told = c.client.writes().size();
        EXPECT_EQ(c.group.writeAsync(c.startTransaction(), {handle}, {each.value}, {each.itemType}, c.errors), S_OK);
        ASSERT_TRUE(c.client.waitForWrites(told + 1));
        EXPECT_EQ(c.client.writes().back().errors, expected);
        EXPECT_EQ(c.client.writes().back().id, 77u);
        const std::string line = "Error: DaGroupMgtPrivate::writeAsync - " + each.line;
        EXPECT_EQ(trace.has(line), !each.line.empty());
        ASSERT_EQ(c.read(handle), S_OK);
        EXPECT_EQ(toUtf8(c.values[0].value.toString()), each.readBack);
    }
}

TEST_F(GroupValuesTest, ItemsThatRefuseToBeWrittenAreToldApart) {
    const auto readOnly = english.add(OLESTR("Access.ReadOnly"));
    const auto writable = english.add(OLESTR("Register.Int32"));
    const Variants values = {OpxVariant::of(std::int32_t{1}), OpxVariant::of(std::int32_t{2})};
    EXPECT_EQ(english.group.write({readOnly, writable}, values, {}, english.errors), S_FALSE);
    EXPECT_THAT(english.errors, ElementsAre(kBadRights, S_OK));
    ASSERT_EQ(english.group.connectCallback(english.sharedClient), S_OK);
    EXPECT_EQ(english.group.writeAsync(english.startTransaction(), {readOnly, writable}, values, {}, english.errors),
              S_FALSE);
    EXPECT_THAT(english.errors, ElementsAre(kBadRights, S_OK));
    EXPECT_TRUE(english.client.waitForWrites(1));
}

// ---- Asynchronous reads

TEST_F(GroupValuesTest, AnAsynchronousReadCompletesWithTheClientsNumbers) {
    ASSERT_EQ(german.group.connectCallback(german.sharedClient), S_OK);
    const auto handle = german.add(OLESTR("Constant.Double"));
    struct Case {
        std::uint32_t maxAge;
        const char* method;
    };
    std::size_t told = 0;
    for (const Case& each : {Case{0, "IOPCAsyncIO2::Read"}, Case{500, "IOPCAsyncIO3::ReadMaxAge"}}) {
        EXPECT_EQ(german.group.readAsync(german.startTransaction(VType::String), each.maxAge, {handle}, german.errors),
                  S_OK);
        EXPECT_THAT(german.errors, IsEmpty());
        ASSERT_TRUE(german.client.waitForReads(++told));
        const auto read = german.client.reads().back();
        EXPECT_EQ(read.id, 77u);
        EXPECT_THAT(read.clientHandles, ElementsAre(100 + german.lastItem));
        EXPECT_EQ(toUtf8(read.values.at(0).value.toString()), "-2,25");
        EXPECT_THAT(read.errors, ElementsAre(S_OK));
        EXPECT_EQ(sim.journal(each.method).size(), 1u);
    }
    EXPECT_EQ(german.group.readAsync(german.startTransaction(), 0, {4711}, german.errors), S_FALSE);
    EXPECT_THAT(german.errors, ElementsAre(kInvalidHandle));
}

// ---- Servers that answer nonsense

TEST_F(GroupValuesTest, ArraysThatASuccessfulCallLeavesOutCostTheItemsOnly) {
    struct Case {
        const char* method;
        HRESULT (*call)(Connection&, std::uint32_t handle);
        bool answersItems;  // beside the codes
    };
    const auto addItems = [](Connection& c, std::uint32_t) {
        std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Double"))};
        return c.group.addItems(items, c.errors, false);
    };
    const auto validate = [](Connection& c, std::uint32_t) {
        std::vector<OpxOpc::OpxItemIdentifier> items = {itemNamed(OLESTR("Constant.Double"))};
        return c.group.addItems(items, c.errors, true);
    };
    const auto remove = [](Connection& c, std::uint32_t) {
        std::vector<OpxOpc::OpxItemIdentifier> items(1);
        items[0].serverHandle = c.add(OLESTR("Constant.Double"));
        return c.group.removeItems(items, c.errors);
    };
    const auto write = [](Connection& c, std::uint32_t handle) {
        return c.write(handle, OpxVariant::of(std::int32_t{1}));
    };
    const auto writeAsync = [](Connection& c, std::uint32_t handle) {
        return c.group.writeAsync(c.startTransaction(), {handle}, {OpxVariant::of(std::int32_t{1})}, {}, c.errors);
    };
    const Case cases[] = {
        {"IOPCItemMgt::AddItems", addItems, true},
        {"IOPCItemMgt::ValidateItems", validate, true},
        {"IOPCItemMgt::RemoveItems", remove, false},
        {"IOPCSyncIO::Read", [](Connection& c, std::uint32_t handle) { return c.read(handle); }, true},
        {"IOPCSyncIO2::ReadMaxAge", [](Connection& c, std::uint32_t handle) { return c.read(handle, 500); }, true},
        {"IOPCSyncIO::Write", write, false},
        {"IOPCAsyncIO2::Read",
         [](Connection& c, std::uint32_t handle) {
             return c.group.readAsync(c.startTransaction(), 0, {handle}, c.errors);
         },
         false},
        {"IOPCAsyncIO3::ReadMaxAge",
         [](Connection& c, std::uint32_t handle) {
             return c.group.readAsync(c.startTransaction(), 500, {handle}, c.errors);
         },
         false},
        {"IOPCAsyncIO2::Write", writeAsync, false},
    };
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

TEST_F(GroupValuesTest, CompletionsWithoutArraysAreToldWithoutItems) {
    sim.execute("async null");
    ASSERT_EQ(english.group.connectCallback(english.sharedClient), S_OK);
    const auto handle = english.add(OLESTR("Register.Int32"));
    english.group.readAsync(english.startTransaction(), 0, {handle}, english.errors);
    english.group.writeAsync(english.startTransaction(), {handle}, {OpxVariant::of(true)}, {}, english.errors);
    ASSERT_TRUE(english.client.waitForReads(1) && english.client.waitForWrites(1));
    EXPECT_EQ(english.client.reads()[0].count, 0u);
    EXPECT_EQ(english.client.writes()[0].count, 0u);
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
