// A client of the simulation server as tests of it need one: made without COM's activation, every
// call checked, every result owned.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "com/ComPtr.h"
#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "sim/com/ComClass.h"
#include "sim/com/Results.h"
#include "sim/plant/Value.h"
#include "tests/support/SimulationFixture.h"

namespace Korvex::Simulation {

// What a read or a callback told of an item.
struct Told {
    OPCHANDLE client = 0;
    Value value;
    WORD quality = 0;
    FILETIME time{};
    HRESULT error = S_OK;
};

// A data callback that remembers.
class Sink final : public ComClass<IOPCDataCallback> {
public:
    struct Event {
        std::string kind;  // "change", "read", "write", "cancel"
        DWORD transaction = 0;
        OPCHANDLE group = 0;
        HRESULT masterQuality = S_OK;
        HRESULT masterError = S_OK;
        DWORD count = 0;
        std::vector<Told> items;
    };

    HRESULT STDMETHODCALLTYPE OnDataChange(DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error,
                                           DWORD count, OPCHANDLE* clients, VARIANT* values, WORD* qualities,
                                           FILETIME* times, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnReadComplete(DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error,
                                             DWORD count, OPCHANDLE* clients, VARIANT* values, WORD* qualities,
                                             FILETIME* times, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnWriteComplete(DWORD transaction, OPCHANDLE group, HRESULT error, DWORD count,
                                              OPCHANDLE* clients, HRESULT* errors) override;
    HRESULT STDMETHODCALLTYPE OnCancelComplete(DWORD transaction, OPCHANDLE group) override;

    // The nth event of a kind, from 1; an event of no kind when it does not come in time.
    Event wait(const std::string& kind, std::size_t nth = 1,
               std::chrono::milliseconds patience = std::chrono::seconds(10));
    std::size_t count(const std::string& kind);

    // Called from within a callback, before its event counts.
    std::function<void()> onEvent;

private:
    HRESULT record(const char* kind, DWORD transaction, OPCHANDLE group, HRESULT quality, HRESULT error,
                   std::vector<Told> items, DWORD count);
    std::size_t countLocked(const std::string& kind) const;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Event> events_;
};

// A group with one of each of its interfaces.
struct ClientGroup {
    Com::ComPtr<IOPCItemMgt> items;
    OPCHANDLE serverHandle = 0;
    DWORD rate = 0;
    HRESULT added = S_OK;  // what AddGroup answered

    template <typename Interface>
    Com::ComPtr<Interface> as() const {
        Com::ComPtr<Interface> other;
        EXPECT_EQ(items.query(other), S_OK);
        return other;
    }

    // Adds an item whose client handle is its server handle plus 5000.
    OPCHANDLE add(const OpxString& id, VARTYPE type = VT_EMPTY) const;
    HRESULT tryAdd(const OpxString& id, VARTYPE type, OPCITEMRESULT& result) const;
    std::vector<Told> read(OPCDATASOURCE source, std::vector<OPCHANDLE> handles) const;
    Told read(OPCHANDLE handle) const { return read(OPC_DS_DEVICE, {handle}).front(); }
    HRESULT write(OPCHANDLE handle, Value value) const;
    Com::ComPtr<Sink> advise(const std::function<void()>& onEvent = [] {}) const;
};

// Each test begins with the simulation as it was in the beginning.
class SimulationTest : public testing::Test {
protected:
    SimulationTest();
    ~SimulationTest() override { control_.reset(); }

    // Answers what the command answers; a command that is not understood fails the test.
    std::string run(const std::string& command) { return control_.execute(command); }
    HRESULT tryRun(const std::string& command, std::string& answer) { return control_.tryExecute(command, answer); }

    template <typename Interface>
    Com::ComPtr<Interface> server() const {
        Com::ComPtr<Interface> other;
        EXPECT_EQ(server_.query(other), S_OK);
        return other;
    }
    IOPCServer* opc() const { return server_.get(); }
    void releaseServer() { server_.release(); }

    ClientGroup addGroup(const OpxString& name = OLESTR("Main"), DWORD rate = 20, bool active = true,
                         float deadband = 0, LCID locale = 1033) const;

private:
    const Testing::SimulationApartment apartment_{COINIT_MULTITHREADED};
    Testing::SimulationControl control_;
    Com::ComPtr<IOPCServer> server_;
};

std::vector<OpxString> namesOf(IEnumString* enumerator);

}  // namespace Korvex::Simulation
