#include <gmock/gmock.h>

#include <cmath>
#include <memory>
#include <sstream>

#include "sim/FileTime.h"
#include "sim/OpcCodes.h"
#include "sim/Simulation.h"
#include "sim/group/Group.h"
#include "tests/sim/Client.h"
#include "tests/support/rows.h"

namespace Korvex::Simulation {
namespace {

using Com::ComPtr;
using testing::ElementsAre;

using Group = SimulationTest;

TEST_F(Group, ReportsWhatItKnowsOfAnItem) {
    const ClientGroup group = addGroup();
    OPCITEMRESULT result{};
    ASSERT_EQ(group.tryAdd(OLESTR("Constant.DoubleArray"), VT_BSTR | VT_ARRAY, result), S_OK);
    EXPECT_EQ(result.vtCanonicalDataType, VT_R8 | VT_ARRAY);
    EXPECT_EQ(result.dwAccessRights, OPC_READABLE);
    run("handles zero");
    ASSERT_EQ(addGroup(OLESTR("Zero")).tryAdd(OLESTR("Register.Int32"), VT_EMPTY, result), S_OK);
    EXPECT_EQ(result.hServer, 0U);

    ComPtr<IEnumOPCItemAttributes> enumerator;
    ASSERT_EQ(group.items->CreateEnumerator(IID_IEnumOPCItemAttributes, enumerator.putUnknown()), S_OK);
    OPCITEMATTRIBUTES* attributes = nullptr;
    ULONG fetched = 0;
    EXPECT_EQ(enumerator->Next(5, &attributes, &fetched), S_FALSE);
    ASSERT_EQ(fetched, 1U);
    EXPECT_EQ(OpxString(attributes[0].szItemID), OLESTR("Constant.DoubleArray"));
    EXPECT_EQ(attributes[0].vtRequestedDataType, VT_BSTR | VT_ARRAY);
    disposeArray(attributes, fetched);
}

TEST_F(Group, GivesItemsBlobsOnDemand) {
    run("blobs on");
    const ClientGroup group = addGroup();
    OpxString id = OLESTR("Register.Int32");
    OPCITEMDEF definitions[2]{};
    for (auto& each : definitions) each.szItemID = id.data();
    Com::TaskArray<OPCITEMRESULT> results(2);
    Com::TaskArray<HRESULT> errors(2);
    ASSERT_EQ(group.items->AddItems(2, definitions, results.put(), errors.put()), S_OK);
    for (const OPCITEMRESULT& each : results) EXPECT_EQ(each.dwBlobSize > 0, each.pBlob != nullptr);
    EXPECT_NE(results[0].dwBlobSize > 0, results[1].dwBlobSize > 0);
    for (const OPCITEMRESULT& each : results) CoTaskMemFree(each.pBlob);
}

// A value of that type from its text, the elements of an array separated by commas.
Value valueOf(VARTYPE type, const std::string& text) {
    Value value;
    if (type == VT_EMPTY) return value;
    if (type & VT_ARRAY) {
        std::vector<Value> elements;
        std::istringstream list(text);
        for (std::string each; std::getline(list, each, ',');) elements.push_back(valueOf(elementOf(type), each));
        return makeArray(elementOf(type), elements);
    }
    EXPECT_EQ(convert(makeText(fromUtf8(text)), type, 1033, value), S_OK) << text;
    return value;
}

std::string textOf(const Value& value) {
    Value text;
    if (!value.isArray()) {
        return succeeded(convert(value, VT_BSTR, 1033, text)) ? toUtf8(OpxStringView(text.get().bstrVal)) : "";
    }
    std::string list;
    for (const Value& element : elementsOf(value)) list += (list.empty() ? "" : ",") + textOf(element);
    return "{" + list + "}";
}

std::string readOf(HRESULT code, const Value& value) {
    const std::string text = Testing::hex(code) + " " + std::to_string(value.type());
    return value.type() == VT_EMPTY ? text : text + " " + textOf(value);
}

TEST_F(Group, AddsReadsAndWritesItemsAsTheTableSays) {
    const ClientGroup german = addGroup(OLESTR("German"), 100, true, 0, 1031);
    for (const auto& row : Testing::rowsOf("sim/items.txt", 5)) {
        SCOPED_TRACE(row[0] + " " + row[1] + " " + row[2] + " " + row[3]);
        const OpxString id = fromUtf8(row[1]);
        const auto type = static_cast<VARTYPE>(std::stoi(row[2]));
        if (row[0] == "add") {
            run(std::string("item Register.Int16 ") + (row[1] == "Register.Int16" ? "addresult 0xC0048888" : "normal"));
            OPCITEMRESULT result{};
            EXPECT_EQ(Testing::hex(german.tryAdd(id, type, result)), row[4]);
        } else if (row[0] == "read") {
            const OPCHANDLE handle = german.add(id, type);
            const Told told = german.read(handle);
            EXPECT_EQ(readOf(told.error, told.value), row[4]);
            EXPECT_EQ(told.client, handle + 5000);
            EXPECT_EQ(told.quality, failed(told.error) ? kQualityBad : kQualityGood);
        } else {
            const OPCHANDLE handle = german.add(id);
            const HRESULT result = german.write(handle, valueOf(type, row[3]));
            EXPECT_EQ(readOf(result, german.read(handle).value), row[4]);
        }
    }
    EXPECT_EQ(german.read(4711).error, OPC_E_INVALIDHANDLE);
}

// Each sampling of the counter adds one, which tells a cached value from a fresh one.
TEST_F(Group, ReadsTheCacheOrTheDeviceByWhatIsAskedFor) {
    const ClientGroup group = addGroup(OLESTR("Slow"), 3'600'000);
    OPCHANDLE handle = group.add(OLESTR("Signal.Counter"));
    const auto counted = [&](OPCDATASOURCE source) { return group.read(source, {handle}).front().value.get().lVal; };
    const LONG first = counted(OPC_DS_DEVICE);
    EXPECT_EQ(counted(OPC_DS_CACHE), first);
    EXPECT_EQ(counted(OPC_DS_DEVICE), first + 1);

    const auto countedUpTo = [&](DWORD age) {
        Com::TaskArray<VARIANT> values(1);
        Com::TaskArray<WORD> qualities(1);
        Com::TaskArray<FILETIME> times(1);
        Com::TaskArray<HRESULT> errors(1);
        EXPECT_EQ(group.as<IOPCSyncIO2>()->ReadMaxAge(1, &handle, &age, values.put(), qualities.put(), times.put(),
                                                      errors.put()),
                  S_OK);
        return values[0].lVal;
    };
    EXPECT_EQ(countedUpTo(0xFFFFFFFF), first + 1);
    EXPECT_EQ(countedUpTo(0), first + 2);

    const ClientGroup idle = addGroup(OLESTR("Idle"), 100, false);
    const Told told = idle.read(OPC_DS_CACHE, {idle.add(OLESTR("Register.Int32"))}).front();
    EXPECT_EQ(told.quality, kQualityOutOfService);
}

TEST_F(Group, ADeviceReadOfTheSlowItemTakesItsTime) {
    const ClientGroup group = addGroup();
    const OPCHANDLE handle = group.add(OLESTR("Slow.Item"));
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(group.read(handle).error, S_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(190));
}

TEST_F(Group, StateIsSetInPartsAndClonedWhole) {
    const ClientGroup group = addGroup(OLESTR("Main"), 100);
    group.add(OLESTR("Register.Int32"));
    const auto state = group.as<IOPCGroupStateMgt2>();
    DWORD rate = 3;
    DWORD revised = 0;
    FLOAT deadband = 12.5F;
    EXPECT_EQ(state->SetState(&rate, &revised, nullptr, nullptr, &deadband, nullptr, nullptr), OPC_S_UNSUPPORTEDRATE);
    EXPECT_EQ(revised, 10U);
    deadband = -1;
    EXPECT_EQ(state->SetState(nullptr, &revised, nullptr, nullptr, &deadband, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(state->SetName(OLESTR("Renamed")), S_OK);
    DWORD keepAlive = 0;
    EXPECT_EQ(state->SetKeepAlive(500, &keepAlive), S_OK);

    ComPtr<IOPCGroupStateMgt> clone;
    EXPECT_EQ(state->CloneGroup(OLESTR("Renamed"), IID_IOPCGroupStateMgt, clone.putUnknown()), OPC_E_DUPLICATENAME);
    ASSERT_EQ(state->CloneGroup(OLESTR("Clone"), IID_IOPCGroupStateMgt, clone.putUnknown()), S_OK);
    BOOL active = TRUE;
    LPWSTR name = nullptr;
    LONG bias = 0;
    DWORD locale = 0;
    OPCHANDLE client = 0;
    OPCHANDLE handle = 0;
    ASSERT_EQ(clone->GetState(&rate, &active, &name, &bias, &deadband, &locale, &client, &handle), S_OK);
    EXPECT_EQ(OpxString(Com::TaskString(name).get()), OLESTR("Clone"));
    EXPECT_EQ(rate, 10U);
    EXPECT_EQ(deadband, 12.5F);
    EXPECT_EQ(active, FALSE);
    EXPECT_NE(handle, group.serverHandle);
    EXPECT_THAT(run("counts"), testing::HasSubstr("items=2"));
}

TEST_F(Group, ReadsTheClockInWholeMilliseconds) {
    const ClientGroup group = addGroup();
    const OPCHANDLE clock = group.add(OLESTR("Signal.Clock"));
    for (int i = 0; i < 20; ++i) {
        const Told read = group.read(clock);
        const double since1899 = read.value.get().date;
        constexpr double kMillisecondsPerDay = 864e5;
        constexpr std::int64_t kDaysFrom1601To1899 = 109'205;
        EXPECT_EQ(std::llround(since1899 * kMillisecondsPerDay) + kDaysFrom1601To1899 * 86'400'000,
                  static_cast<std::int64_t>(ticksOf(read.time) / kTicksPerMillisecond));
    }
}

TEST_F(Group, CountsNoItemsThatComeAfterItsEnd) {
    const auto group = std::make_shared<Korvex::Simulation::Group>(std::weak_ptr<Server>(), 1, GroupSettings{});
    group->addItem({});
    EXPECT_EQ(simulation().census.items, 1);
    group->remove();
    group->addItem({});
    EXPECT_EQ(simulation().census.items, 0);
}

}  // namespace
}  // namespace Korvex::Simulation
