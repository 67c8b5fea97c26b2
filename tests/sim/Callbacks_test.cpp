#include <gmock/gmock.h>

#include <thread>

#include "sim/OpcCodes.h"
#include "tests/sim/Client.h"

namespace Korvex::Simulation {
namespace {

using std::chrono::milliseconds;

using Callbacks = SimulationTest;

// Long enough for several updates of the tests' groups.
constexpr milliseconds kSeveralUpdates{200};

TEST_F(Callbacks, TellEverythingOnceAndThenWhatChanges) {
    const ClientGroup group = addGroup();
    const OPCHANDLE number = group.add(OLESTR("Register.Int32"), VT_BSTR);
    const OPCHANDLE bad = group.add(OLESTR("Quality.Bad"));
    const auto sink = group.advise();
    const auto first = sink->wait("change");
    ASSERT_EQ(first.items.size(), 2U);
    EXPECT_EQ(first.group, 77U);
    EXPECT_EQ(first.transaction, 0U);
    EXPECT_EQ(first.masterQuality, S_FALSE);
    EXPECT_EQ(first.masterError, S_OK);
    EXPECT_EQ(first.items[1].client, bad + 5000);

    EXPECT_EQ(group.write(number, makeInt32(5)), S_OK);
    const auto second = sink->wait("change", 2);
    ASSERT_EQ(second.items.size(), 1U);
    EXPECT_EQ(second.items[0].client, number + 5000);
    EXPECT_TRUE(second.items[0].value == makeText(OLESTR("5")));
    EXPECT_EQ(second.masterQuality, S_OK);

    run("item Register.Int32 error 0x80004005");
    const auto third = sink->wait("change", 3);
    EXPECT_EQ(third.masterError, S_FALSE);
    ASSERT_EQ(third.items.size(), 1U);
    EXPECT_EQ(third.items[0].error, E_FAIL);
    std::this_thread::sleep_for(kSeveralUpdates);
    EXPECT_EQ(sink->count("change"), 3U);
}

TEST_F(Callbacks, TellTheFirstValuesOfAnActivatedGroupOnce) {
    for (const std::string mode : {"deliver later", "deliver inside"}) {
        SCOPED_TRACE(mode);
        run(mode);
        for (int i = 0; i < 20; ++i) {
            const ClientGroup group = addGroup(OLESTR("Main"), 20, false);
            group.add(OLESTR("Constant.Int32"));
            const auto sink = group.advise();
            DWORD revised = 0;
            BOOL active = TRUE;
            group.as<IOPCGroupStateMgt>()->SetState(nullptr, &revised, &active, nullptr, nullptr, nullptr, nullptr);
            EXPECT_TRUE(mode == "deliver later" || sink->count("change") == 1);
            EXPECT_EQ(sink->wait("change").count, 1U);
            std::this_thread::sleep_for(milliseconds(10));
            ASSERT_EQ(sink->count("change"), 1U);
            opc()->RemoveGroup(group.serverHandle, TRUE);
        }
    }
}

TEST_F(Callbacks, StayAwayFromWhatIsInactiveOrDisabled) {
    const ClientGroup group = addGroup(OLESTR("Main"), 20, false);
    OPCHANDLE handle = group.add(OLESTR("Signal.Counter"));
    const auto sink = group.advise();
    const auto state = group.as<IOPCGroupStateMgt>();
    DWORD revised = 0;
    BOOL active = TRUE;
    std::this_thread::sleep_for(kSeveralUpdates);
    EXPECT_EQ(sink->count("change"), 0U);
    EXPECT_EQ(state->SetState(nullptr, &revised, &active, nullptr, nullptr, nullptr, nullptr), S_OK);
    EXPECT_EQ(sink->wait("change").count, 1U);

    Com::TaskArray<HRESULT> errors(1);
    EXPECT_EQ(group.items->SetActiveState(1, &handle, FALSE, errors.put()), S_OK);
    std::this_thread::sleep_for(kSeveralUpdates);
    const std::size_t whenInactive = sink->count("change");
    EXPECT_EQ(group.as<IOPCAsyncIO2>()->SetEnable(FALSE), S_OK);
    EXPECT_EQ(group.items->SetActiveState(1, &handle, TRUE, errors.put()), S_OK);
    std::this_thread::sleep_for(kSeveralUpdates);
    EXPECT_EQ(sink->count("change"), whenInactive);
    EXPECT_EQ(group.as<IOPCAsyncIO2>()->SetEnable(TRUE), S_OK);
    EXPECT_EQ(sink->wait("change", whenInactive + 1).count, 1U);
}

TEST_F(Callbacks, PassOverAnalogValuesInsideTheDeadband) {
    const ClientGroup group = addGroup(OLESTR("Main"), 20, true, 10);
    const OPCHANDLE level = group.add(OLESTR("Analog.Level"));
    const OPCHANDLE number = group.add(OLESTR("Register.Double"));
    const auto sink = group.advise();
    ASSERT_EQ(sink->wait("change").count, 2U);
    EXPECT_EQ(group.write(level, makeDouble(59)), S_OK);
    std::this_thread::sleep_for(kSeveralUpdates);
    EXPECT_EQ(sink->count("change"), 1U);
    EXPECT_EQ(group.write(number, makeDouble(0.001)), S_OK);
    EXPECT_EQ(sink->wait("change", 2).items.at(0).client, number + 5000);
    EXPECT_EQ(group.write(level, makeDouble(61)), S_OK);
    EXPECT_EQ(sink->wait("change", 3).items.at(0).client, level + 5000);
}

TEST_F(Callbacks, KeepAnIdleClientAlive) {
    const ClientGroup group = addGroup();
    DWORD revised = 0;
    EXPECT_EQ(group.as<IOPCGroupStateMgt2>()->SetKeepAlive(50, &revised), S_OK);
    const auto sink = group.advise();
    const auto event = sink->wait("change");
    EXPECT_EQ(event.kind, "change");
    EXPECT_EQ(event.count, 0U);
    EXPECT_EQ(event.group, 77U);
}

TEST_F(Callbacks, CompleteReadsAndWritesWithTheClientsHandles) {
    const ClientGroup group = addGroup(OLESTR("Main"), 20, false);
    const auto io = group.as<IOPCAsyncIO2>();
    OPCHANDLE handles[] = {group.add(OLESTR("Register.Int32")), 4711, group.add(OLESTR("Access.WriteOnly")),
                           group.add(OLESTR("Error.Read"))};
    DWORD cancel = 0;
    Com::TaskArray<HRESULT> errors(4);
    EXPECT_EQ(io->Read(4, handles, 1, &cancel, errors.put()), CONNECT_E_NOCONNECTION);
    const auto sink = group.advise();

    VARIANT values[4];
    for (auto& each : values) each = makeInt32(8).detach();
    ASSERT_EQ(io->Write(4, handles, values, 21, &cancel, errors.put()), S_FALSE);
    EXPECT_EQ(errors[1], OPC_E_INVALIDHANDLE);
    EXPECT_EQ(errors[3], OPC_E_BADRIGHTS);
    const auto written = sink->wait("write");
    EXPECT_EQ(written.transaction, 21U);
    ASSERT_EQ(written.count, 2U);
    EXPECT_EQ(written.items[0].client, handles[0] + 5000);
    EXPECT_EQ(written.items[0].error, S_OK);

    ASSERT_EQ(io->Read(4, handles, 22, &cancel, errors.put()), S_FALSE);
    EXPECT_EQ(errors[2], OPC_E_BADRIGHTS);
    const auto read = sink->wait("read");
    EXPECT_EQ(read.transaction, 22U);
    EXPECT_EQ(read.masterError, S_FALSE);
    ASSERT_EQ(read.count, 2U);
    EXPECT_TRUE(read.items[0].value == makeInt32(8));
    EXPECT_EQ(read.items[1].error, E_FAIL);
}

TEST_F(Callbacks, RefreshTellsActiveItemsUnderTheTransaction) {
    const ClientGroup group = addGroup(OLESTR("Main"), 3'600'000);
    const auto io = group.as<IOPCAsyncIO3>();
    const auto sink = group.advise();
    DWORD cancel = 0;
    EXPECT_EQ(io->Refresh2(OPC_DS_DEVICE, 31, &cancel), E_FAIL);
    group.add(OLESTR("Constant.Int32"));
    sink->wait("change");
    for (const DWORD transaction : {32U, 33U}) {
        const std::size_t before = sink->count("change");
        ASSERT_EQ(transaction == 32U ? io->Refresh2(OPC_DS_CACHE, transaction, &cancel)
                                     : io->RefreshMaxAge(1000, transaction, &cancel),
                  S_OK);
        const auto event = sink->wait("change", before + 1);
        EXPECT_EQ(event.transaction, transaction);
        EXPECT_EQ(event.count, 1U);
    }
}

TEST_F(Callbacks, AHeldOperationCanBeCancelled) {
    const ClientGroup group = addGroup(OLESTR("Main"), 20, false);
    OPCHANDLE handle = group.add(OLESTR("Register.Int32"));
    const auto io = group.as<IOPCAsyncIO3>();
    const auto sink = group.advise();
    run("async hold");
    DWORD cancel = 0;
    DWORD kept = 0;
    DWORD age = 0;
    Com::TaskArray<HRESULT> errors(1);
    ASSERT_EQ(io->Read(1, &handle, 41, &cancel, errors.put()), S_OK);
    ASSERT_EQ(io->ReadMaxAge(1, &handle, &age, 42, &kept, errors.put()), S_OK);
    EXPECT_EQ(io->Cancel2(cancel), S_OK);
    EXPECT_EQ(sink->wait("cancel").transaction, 41U);
    EXPECT_EQ(io->Cancel2(cancel), E_FAIL);
    run("async release");
    EXPECT_EQ(sink->wait("read").transaction, 42U);
    EXPECT_EQ(io->Cancel2(kept), E_FAIL);
}

TEST_F(Callbacks, CompletionsGoWrongAsCommanded) {
    const ClientGroup group = addGroup(OLESTR("Main"), 20, false);
    OPCHANDLE handle = group.add(OLESTR("Register.Int32"));
    const auto io = group.as<IOPCAsyncIO2>();
    const auto sink = group.advise();
    DWORD cancel = 0;
    Com::TaskArray<HRESULT> errors(1);
    std::size_t completed = 0;
    const auto read = [&](const std::string& mode, std::size_t completions) {
        run("async " + mode);
        EXPECT_EQ(io->Read(1, &handle, 7, &cancel, errors.put()), S_OK);
        completed += completions;
        return sink->wait("read", completed);
    };
    EXPECT_EQ(read("double", 2).transaction, 7U);
    EXPECT_NE(read("unknown-transaction", 1).transaction, 7U);
    EXPECT_NE(read("unknown-handle", 1).items.at(0).client, handle + 5000);
    const auto null = read("null", 1);
    EXPECT_EQ(null.count, 1U);
    EXPECT_TRUE(null.items.empty());
    run("async normal");
    const auto masters = read("masters 0x80004005 0xC0040004", 1);
    EXPECT_EQ(masters.masterQuality, E_FAIL);
    EXPECT_EQ(masters.masterError, OPC_E_BADTYPE);

    run("async normal");
    run("async early");
    EXPECT_EQ(io->Read(1, &handle, 8, &cancel, errors.put()), S_OK);
    EXPECT_EQ(sink->count("read"), ++completed);
    read("drop", 0);
    EXPECT_EQ(read("normal", 1).transaction, 7U);
    EXPECT_EQ(sink->count("read"), completed);
}

// Nothing may wait for the callback to end.
TEST_F(Callbacks, AGroupMayBeRemovedFromWithinItsCallback) {
    ClientGroup group = addGroup();
    group.add(OLESTR("Register.Int32"));
    HRESULT removed = E_UNEXPECTED;
    const auto sink = group.advise([&, handle = group.serverHandle] { removed = opc()->RemoveGroup(handle, TRUE); });
    group.items.release();
    sink->wait("change");
    EXPECT_EQ(removed, S_OK);
    EXPECT_THAT(run("counts"), testing::HasSubstr("groups=0\nitems=0\nsinks=0\n"));
}

}  // namespace
}  // namespace Korvex::Simulation
