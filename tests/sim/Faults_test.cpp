#include <gmock/gmock.h>

#include <future>
#include <thread>

#include "sim/OpcCodes.h"
#include "tests/sim/Client.h"

namespace Korvex::Simulation {
namespace {

using Com::ComPtr;
using std::chrono::milliseconds;
using testing::HasSubstr;

class Faults : public SimulationTest {
protected:
    HRESULT status() const {
        Com::TaskArray<OPCSERVERSTATUS> status(1);
        const HRESULT result = opc()->GetStatus(status.put());
        if (status) CoTaskMemFree(status[0].szVendorInfo);
        return result;
    }
    template <typename Interface>
    HRESULT query() const {
        ComPtr<Interface> other;
        return opc()->QueryInterface(iidOf<Interface>(), other.putVoid());
    }
};

TEST_F(Faults, hitTheCallThatTheyAreMeantFor) {
    run("fault IOPCServer::GetStatus 0x80070005 2");
    EXPECT_EQ(status(), S_OK);
    EXPECT_EQ(status(), E_ACCESSDENIED);
    EXPECT_EQ(status(), S_OK);
    run("fault IOPCServer::GetStatus 0x80004005");
    EXPECT_EQ(status(), E_FAIL);
    EXPECT_EQ(status(), E_FAIL);
    EXPECT_EQ(run("calls IOPCServer::GetStatus"), "5");

    run("fault IOPCServer::QueryInterface (IID_IOPCCommon) 0x80004005 1");
    EXPECT_EQ(query<IOPCBrowse>(), S_OK);
    EXPECT_EQ(query<IOPCCommon>(), E_FAIL);
    run("fault IOPCServer::QueryInterface 0x80070057");
    EXPECT_EQ(query<IOPCBrowse>(), E_INVALIDARG);
    run("reset");
    EXPECT_EQ(query<IOPCBrowse>(), S_OK);
    EXPECT_EQ(status(), S_OK);
}

TEST_F(Faults, interfacesAreRefusedByNameAndByProfile) {
    run("refuse IOPCCommon");
    EXPECT_EQ(query<IOPCCommon>(), E_NOINTERFACE);
    run("accept IOPCCommon");
    EXPECT_EQ(query<IOPCCommon>(), S_OK);
    run("profile 2");
    EXPECT_EQ(query<IOPCBrowse>(), E_NOINTERFACE);
    EXPECT_EQ(query<IOPCItemIO>(), E_NOINTERFACE);
    EXPECT_EQ(query<IOPCItemProperties>(), S_OK);
    const ClientGroup group = addGroup();
    ComPtr<IOPCSyncIO2> sync;
    EXPECT_EQ(group.items.query(sync), E_NOINTERFACE);
    run("profile 3");
    EXPECT_EQ(group.items.query(sync), S_OK);
}

TEST_F(Faults, aDeadServerAnswersNothingButCommands) {
    const ClientGroup group = addGroup();
    OPCHANDLE handle = group.add(OLESTR("Signal.Counter"));
    const auto io = group.as<IOPCSyncIO>();
    const auto sink = group.advise();
    sink->wait("change");
    run("dead");
    EXPECT_EQ(status(), kServerUnavailable);
    EXPECT_EQ(query<IOPCCommon>(), kServerUnavailable);
    OPCITEMSTATE* states = nullptr;
    Com::TaskArray<HRESULT> errors(1);
    EXPECT_EQ(io->Read(OPC_DS_CACHE, 1, &handle, &states, errors.put()), kServerUnavailable);
    std::this_thread::sleep_for(milliseconds(100));
    const std::size_t before = sink->count("change");
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_EQ(sink->count("change"), before);
    run("alive");
    EXPECT_EQ(status(), S_OK);
    EXPECT_EQ(sink->wait("change", before + 1).kind, "change");
}

TEST_F(Faults, callsWaitWhileTheyAreDelayedOrHang) {
    run("delay IOPCServer::GetStatus 100");
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_EQ(status(), S_OK);
    EXPECT_GE(std::chrono::steady_clock::now() - begun, milliseconds(95));
    run("delay IOPCServer::GetStatus 0");

    for (const std::string command : {"release IOPCServer::GetStatus", "reset"}) {
        run("journal clear");
        run("hang IOPCServer::GetStatus");
        auto call = std::async(std::launch::async, [this] { return status(); });
        EXPECT_EQ(call.wait_for(milliseconds(100)), std::future_status::timeout);
        EXPECT_EQ(run("journal"), "IOPCServer::GetStatus -> running\n");
        EXPECT_EQ(query<IOPCCommon>(), S_OK);
        run(command);
        EXPECT_EQ(call.get(), S_OK);
    }
}

TEST_F(Faults, answersAreNonsenseAsCommanded) {
    const ClientGroup group = addGroup();
    OPCHANDLE handle = group.add(OLESTR("Constant.String"));
    const auto io = group.as<IOPCSyncIO>();
    const auto read = [&](bool& values, bool& errors) {
        OPCITEMSTATE* states = nullptr;
        Com::TaskArray<HRESULT> codes(1);
        const HRESULT result = io->Read(OPC_DS_CACHE, 1, &handle, &states, codes.put());
        values = states != nullptr;
        errors = static_cast<bool>(codes);
        disposeArray(states, 1);
        return result;
    };
    const struct {
        std::string kind;
        HRESULT result;
        bool values, errors;
    } cases[] = {
        {"null", S_OK, false, false},
        {"null-values", S_OK, false, true},
        {"null-errors", S_FALSE, true, false},
        {"", S_OK, true, true},
    };
    for (const auto& each : cases) {
        run("answer IOPCSyncIO::Read" + (each.kind.empty() ? "" : " " + each.kind));
        bool values = false;
        bool errors = false;
        EXPECT_EQ(read(values, errors), each.result) << each.kind;
        EXPECT_EQ(values, each.values) << each.kind;
        EXPECT_EQ(errors, each.errors) << each.kind;
    }
}

TEST_F(Faults, itemsReportWhatNoItemShould) {
    const ClientGroup group = addGroup();
    const OPCHANDLE handle = group.add(OLESTR("Register.Int32"));
    const struct {
        std::string command;
        VARTYPE type;
    } cases[] = {
        {"value 0", VT_EMPTY},
        {"value 1", VT_NULL},
        {"value 10 0x80004005", VT_ERROR},
        {"value 13", VT_UNKNOWN},
        {"value 8 some text", VT_BSTR},
        {"value 8195 1,2,3", VT_ARRAY | VT_I4},
        {"value 72", 72},
        {"value 16387", VT_BYREF | VT_I4},
        {"array2d", VT_ARRAY | VT_I4},
        {"nullarray", VT_ARRAY | VT_I4},
        {"normal", VT_I4},
    };
    for (const auto& each : cases) {
        run("item Register.Int32 " + each.command);
        const Told told = group.read(handle);
        EXPECT_EQ(told.error, S_OK) << each.command;
        EXPECT_EQ(told.value.type(), each.type) << each.command;
    }
    run("item Register.Int32 array2d");
    EXPECT_EQ(SafeArrayGetDim(group.read(handle).value.get().parray), 2U);
    run("item Register.Int32 time 0xFFFFFFFFFFFFFFFE");
    EXPECT_EQ(group.read(handle).time.dwHighDateTime, 0xFFFFFFFF);
}

TEST_F(Faults, commandsThatMakeNoSenseChangeNothing) {
    for (const std::string command :
         {"", "explode", "fault IOPCServer 0x1", "fault IOPCServer::GetStatus", "fault IOPCServer::GetStatus 0xZZ",
          "fault IOPCServer::GetStatus 0x80004005 0", "fault IOPCServer::GetStatus 0x80004005 1 2", "profile 4",
          "item Register.Int32 value 3 many", "item Register.None error 0x1", "answer IOPCServer::GetStatus nothing",
          "delay IOPCServer::GetStatus 99999999999"})
        EXPECT_EQ(tryRun(command), E_INVALIDARG) << command;
    EXPECT_EQ(status(), S_OK);
}

TEST_F(Faults, theJournalTellsTheCallsInTheirOrder) {
    run("journal clear");
    {
        ClientGroup group = addGroup(OLESTR("Main"), 2000);
        EXPECT_EQ(query<IOPCBrowse>(), S_OK);
        run("fault IOPCServer::RemoveGroup 0x80004005 1");
        EXPECT_EQ(opc()->RemoveGroup(group.serverHandle, FALSE), E_FAIL);
        const OPCHANDLE handle = group.serverHandle;
        group.items.release();
        EXPECT_EQ(opc()->RemoveGroup(handle, FALSE), S_OK);
    }
    std::vector<std::string> lines;
    const std::string journal = run("journal");
    EXPECT_THAT(journal, testing::StartsWith("IOPCServer::AddGroup name=Main active=1 rate=2000 client=77 "));
    EXPECT_THAT(journal, HasSubstr("-> 0x00000000\nIOPCServer::QueryInterface (IID_IOPCBrowse) -> 0x00000000\n"));
    EXPECT_THAT(journal, testing::ContainsRegex("RemoveGroup handle=.* force=0 -> 0x80004005\n"));
    EXPECT_THAT(journal, testing::ContainsRegex("RemoveGroup handle=.* force=0 -> 0x00000000\ngroup Main released\n"));
}

}  // namespace
}  // namespace Korvex::Simulation
