#include <gmock/gmock.h>

#include <cmath>
#include <memory>

#include "sim/FileTime.h"
#include "sim/OpcCodes.h"
#include "sim/Simulation.h"
#include "sim/group/Group.h"
#include "tests/sim/Client.h"

namespace Korvex::Simulation {
namespace {

using Com::ComPtr;
using testing::ElementsAre;

using Group = SimulationTest;

TEST_F(Group, refusesItemsThatItCannotHave) {
    const ClientGroup group = addGroup();
    run("item Register.Int16 addresult 0xC0048888");
    const struct {
        OpxString id;
        VARTYPE type;
        HRESULT result;
    } cases[] = {
        {OLESTR("Register.Int32"), VT_EMPTY, S_OK},
        {OLESTR("Register.Int32"), VT_BSTR, S_OK},
        {OLESTR("Register.Int32Array"), arrayOf(VT_R8), S_OK},
        {OLESTR("Register.Int32"), arrayOf(VT_I4), OPC_E_BADTYPE},
        {OLESTR("Register.Int32Array"), VT_I4, OPC_E_BADTYPE},
        {OLESTR("Register.Int32"), VT_DISPATCH, OPC_E_BADTYPE},
        {OLESTR("Register.Int33"), VT_EMPTY, OPC_E_UNKNOWNITEMID},
        {OLESTR("Register"), VT_EMPTY, OPC_E_UNKNOWNITEMID},
        {OLESTR(""), VT_EMPTY, OPC_E_INVALIDITEMID},
        {OLESTR("Register..Int32"), VT_EMPTY, OPC_E_INVALIDITEMID},
        {OLESTR("Register.Int16"), VT_EMPTY, hresult(0xC0048888)},
    };
    for (const auto& each : cases) {
        OPCITEMRESULT result{};
        EXPECT_EQ(group.tryAdd(each.id, each.type, result), each.result) << toUtf8(each.id);
    }
}

TEST_F(Group, reportsWhatItKnowsOfAnItem) {
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

TEST_F(Group, givesItemsBlobsOnDemand) {
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

TEST_F(Group, readsConstantsInTheTypeThatWasAskedFor) {
    const ClientGroup german = addGroup(OLESTR("German"), 100, true, 0, 1031);
    const struct {
        OpxString id;
        VARTYPE type;
        Value value;
        HRESULT error;
    } cases[] = {
        {OLESTR("Constant.Int8"), VT_EMPTY, makeScalar<std::int8_t>(VT_I1, -8), S_OK},
        {OLESTR("Constant.UInt64"), VT_EMPTY, makeScalar<std::uint64_t>(VT_UI8, 6400000000), S_OK},
        {OLESTR("Constant.Boolean"), VT_EMPTY, makeBool(true), S_OK},
        {OLESTR("Constant.Decimal"), VT_EMPTY, makeDecimal(false, 12345, 2), S_OK},
        {OLESTR("Constant.Currency"), VT_EMPTY, makeCurrency(123456), S_OK},
        {OLESTR("Constant.String"), VT_EMPTY, makeText(OLESTR("Constant text")), S_OK},
        {OLESTR("Constant.Float"), VT_BSTR, makeText(OLESTR("1,5")), S_OK},
        {OLESTR("Constant.Int32"), VT_R8, makeDouble(-320000), S_OK},
        {OLESTR("Constant.Int32"), VT_I2, Value(), OPC_E_RANGE},
        {OLESTR("Constant.String"), VT_I4, Value(), OPC_E_BADTYPE},
        {OLESTR("Constant.BooleanArray"), VT_EMPTY,
         makeArray(VT_BOOL, {makeBool(false), makeBool(true), makeBool(true)}), S_OK},
        {OLESTR("Constant.FloatArray"), arrayOf(VT_I2), Value(), OPC_E_RANGE},
        {OLESTR("Constant.VariantArray"), arrayOf(VT_BSTR),
         makeTextArray({OLESTR("1"), OLESTR("two"), OLESTR("3,5"), OLESTR("True")}), S_OK},
        {OLESTR("Constant.EmptyArray"), arrayOf(VT_R8), makeArray(VT_R8, {}), S_OK},
        {OLESTR("Error.Read"), VT_EMPTY, Value(), E_FAIL},
        {OLESTR("Access.WriteOnly"), VT_EMPTY, Value(), OPC_E_BADRIGHTS},
    };
    for (const auto& each : cases) {
        const OPCHANDLE handle = german.add(each.id, each.type);
        const Told told = german.read(handle);
        EXPECT_EQ(told.error, each.error) << toUtf8(each.id);
        EXPECT_TRUE(told.value == each.value) << toUtf8(each.id) << " has type " << told.value.type();
        EXPECT_EQ(told.client, handle + 5000);
        EXPECT_EQ(told.quality, failed(each.error) ? kQualityBad : kQualityGood);
    }
    EXPECT_EQ(german.read(4711).error, OPC_E_INVALIDHANDLE);
}

TEST_F(Group, writesWhatTheItemCanTake) {
    const ClientGroup group = addGroup(OLESTR("German"), 100, true, 0, 1031);
    const struct {
        OpxString id;
        Value written;
        HRESULT result;
        Value readBack;
    } cases[] = {
        {OLESTR("Register.Double"), makeText(OLESTR("1,5")), S_OK, makeDouble(1.5)},
        {OLESTR("Register.UInt8"), makeInt32(255), S_OK, makeScalar<std::uint8_t>(VT_UI1, 255)},
        {OLESTR("Register.UInt8"), makeInt32(256), OPC_E_RANGE, makeScalar<std::uint8_t>(VT_UI1, 255)},
        {OLESTR("Register.Int32"), makeText(OLESTR("many")), OPC_E_BADTYPE, makeInt32(0)},
        {OLESTR("Register.Int32"), Value(), OPC_E_BADTYPE, makeInt32(0)},
        {OLESTR("Register.Int32Array"), makeArray(VT_R8, {makeDouble(1), makeDouble(2)}), S_OK,
         makeArray(VT_I4, {makeInt32(1), makeInt32(2)})},
        {OLESTR("Register.StringArray"), makeTextArray({OLESTR("a"), OLESTR("")}), S_OK,
         makeTextArray({OLESTR("a"), OLESTR("")})},
        {OLESTR("Access.ReadOnly"), makeInt32(5), OPC_E_BADRIGHTS, makeInt32(1)},
        {OLESTR("Analog.Level"), makeDouble(140), OPC_S_CLAMP, makeDouble(100)},
    };
    for (const auto& each : cases) {
        const OPCHANDLE handle = group.add(each.id);
        EXPECT_EQ(group.write(handle, each.written), each.result) << toUtf8(each.id);
        EXPECT_TRUE(group.read(handle).value == each.readBack) << toUtf8(each.id);
    }
}

TEST_F(Group, keepsTheQualityAndTheTimeThatWereWritten) {
    const ClientGroup group = addGroup();
    OPCHANDLE handle = group.add(OLESTR("Register.Int32"));
    OPCITEMVQT written{};
    written.vDataValue = makeInt32(9).detach();
    written.bQualitySpecified = TRUE;
    written.wQuality = 0x5A;
    written.bTimeStampSpecified = TRUE;
    written.ftTimeStamp = fileTime(0x01C87B2F12345678);
    Com::TaskArray<HRESULT> errors(1);
    ASSERT_EQ(group.as<IOPCSyncIO2>()->WriteVQT(1, &handle, &written, errors.put()), S_OK);
    const Told told = group.read(handle);
    EXPECT_EQ(told.quality, 0x5A);
    EXPECT_EQ(ticksOf(told.time), ticksOf(written.ftTimeStamp));
}

// Each sampling of the counter adds one, which tells a cached value from a fresh one.
TEST_F(Group, readsTheCacheOrTheDeviceByWhatIsAskedFor) {
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

TEST_F(Group, aDeviceReadOfTheSlowItemTakesItsTime) {
    const ClientGroup group = addGroup();
    const OPCHANDLE handle = group.add(OLESTR("Slow.Item"));
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(group.read(handle).error, S_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(190));
}

TEST_F(Group, stateIsSetInPartsAndClonedWhole) {
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

TEST_F(Group, readsTheClockInWholeMilliseconds) {
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

TEST_F(Group, countsNoItemsThatComeAfterItsEnd) {
    const auto group = std::make_shared<Korvex::Simulation::Group>(std::weak_ptr<Server>(), 1, GroupSettings{});
    group->addItem({});
    EXPECT_EQ(simulation().census.items, 1);
    group->remove();
    group->addItem({});
    EXPECT_EQ(simulation().census.items, 0);
}

}  // namespace
}  // namespace Korvex::Simulation
