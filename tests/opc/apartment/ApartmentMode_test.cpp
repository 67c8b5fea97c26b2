// What the first connection of a process does happens once in it, so every test here has its own process.
#include "opc/apartment/ApartmentMode.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "com/ComCalls.h"
#include "com/platform.h"
#include "opc/server/DaServerMgt.h"
#include "tests/support/TraceCapture.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::ApartmentMode;
using OpxOpc::DaServerMgt;

struct Calls {
    int initialized = 0;
    DWORD apartment = 0xFF;
    int uninitialized = 0;
    int secured = 0;
    DWORD authentication = 0xFF;
};
Calls calls;
HRESULT apartmentResult = S_OK;
HRESULT securityResult = S_OK;

void installFakes(HRESULT apartment, HRESULT security) {
    apartmentResult = apartment;
    securityResult = security;
    Com::ComCalls& table = Com::comCalls();
    table.coInitializeEx = [](DWORD apartmentAsked) -> HRESULT {
        ++calls.initialized;
        calls.apartment = apartmentAsked;
        return apartmentResult;
    };
    table.coUninitialize = [] { ++calls.uninitialized; };
    table.coInitializeSecurity = [](DWORD authenticationLevel) -> HRESULT {
        ++calls.secured;
        calls.authentication = authenticationLevel;
        return securityResult;
    };
}

class ChildProcess {
public:
    void expect(bool met, const char* what) {
        if (met) return;
        std::cerr << "not met: " << what << "\n" << trace.dump();
        failures_ = true;
    }
    void expectLine(const char* line, std::int32_t level) {
        bool found = false;
        for (const TraceLine& each : trace.lines()) found = found || (each.text == line && each.level == level);
        expect(found, line);
    }
    [[noreturn]] void end() const { std::exit(failures_ ? 1 : 0); }

    TraceCapture trace;

private:
    bool failures_ = false;
};

#define IN_CHILD_PROCESS(body)                            \
    testing::FLAGS_gtest_death_test_style = "threadsafe"; \
    EXPECT_EXIT(body, ::testing::ExitedWithCode(0), "")

void countsInstances() {
    installFakes(S_OK, S_OK);
    ChildProcess child;
    auto first = std::make_unique<DaServerMgt>();
    auto second = std::make_unique<DaServerMgt>();
    child.expect(calls.initialized == 1 && calls.apartment == 0,
                 "the first connection asks for the multi-threaded one");
    child.expect(calls.secured == 1 && calls.authentication == 1, "security is settled once, without authentication");
    child.expectLine("Ctor DaServerMgtPrivate - initialized COM as MTA", 5);
    child.expect(!ApartmentMode::isSingleThreaded(), "multi-threaded");
    first.reset();
    child.expect(calls.uninitialized == 0, "COM stays while a connection lives");
    second.reset();
    child.expect(calls.uninitialized == 1, "the last connection takes COM down");
    DaServerMgt third;
    child.expect(calls.initialized == 2, "the next first connection brings COM up again");
    child.expect(calls.secured == 1, "security is never settled twice");
    child.end();
}

void findsSingleThreaded() {
    installFakes(RPC_E_CHANGED_MODE, S_OK);
    ChildProcess child;
    auto server = std::make_unique<DaServerMgt>();
    child.expectLine("Ctor DaServerMgtPrivate - COM is already initialized as STA", 5);
    child.expect(ApartmentMode::isSingleThreaded(), "single-threaded");
    server.reset();
    child.expect(calls.uninitialized == 0, "what others initialised stays");
    child.expect(!ApartmentMode::isSingleThreaded(), "the last connection forgets the mode");
    child.end();
}

void failsToInitialize() {
    installFakes(E_OUTOFMEMORY, S_OK);
    ChildProcess child;
    auto server = std::make_unique<DaServerMgt>();
    child.expectLine("Ctor DaServerMgtPrivate - initialized COM as MTA", 5);
    server.reset();
    child.expect(calls.uninitialized == 0, "a failed start needs no end");
    child.end();
}

void isTooLateForSecurity() {
    installFakes(S_OK, RPC_E_TOO_LATE);
    ChildProcess child;
    DaServerMgt server;
    child.expectLine("Ctor DaServerMgtPrivate - CoInitializeSecurity was already called before", 5);
    child.end();
}

void failsToSecure() {
    installFakes(S_OK, E_ACCESSDENIED);
    ChildProcess child;
    { DaServerMgt server; }
    DaServerMgt next;
    child.expectLine("Ctor DaServerMgtPrivate - CoInitializeSecurity failed [hr=0x80070005]", 1);
    child.expect(calls.secured == 1, "not tried again");
    child.end();
}

void securesAsAsked(const std::string& asked, DWORD level) {
    installFakes(S_OK, S_OK);
    Com::setEnvironmentVariable("KORVEX_OPC_AUTHENTICATION", asked);
    ChildProcess child;
    DaServerMgt server;
    child.expect(calls.authentication == level, asked.c_str());
    if (asked == "nonsense") {
        child.expectLine("Error: Ctor DaServerMgtPrivate - KORVEX_OPC_AUTHENTICATION names no level: 'nonsense'", 1);
    }
    child.end();
}

// With COM as it is. Not every COM tells that it is too late.
void applicationSecures() {
    ChildProcess child;
    child.expect(CoInitializeEx(nullptr, COINIT_MULTITHREADED) == S_OK, "the application's apartment");
    const auto secure = [] {
        return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_INTEGRITY,
                                    RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
    };
    child.expect(secure() == S_OK, "the application's security");
    const bool tellsThatItIsTooLate = secure() == RPC_E_TOO_LATE;
    DaServerMgt server;
    child.expect(server.connectOPCServer({}, CLSID{}) == REGDB_E_CLASSNOTREG, "COM is asked for the server");
    child.expect(child.trace.textsWith("CoInitializeSecurity failed").empty(), "no error");
    if (tellsThatItIsTooLate) {
        child.expectLine("Ctor DaServerMgtPrivate - CoInitializeSecurity was already called before", 5);
    }
    child.end();
}

TEST(ApartmentModeDeathTest, ComAndSecurityAreSettledByTheFirstConnection) {
    IN_CHILD_PROCESS(countsInstances());
}
TEST(ApartmentModeDeathTest, ASingleThreadedApartmentIsNoticedAndLeftAlone) {
    IN_CHILD_PROCESS(findsSingleThreaded());
}
TEST(ApartmentModeDeathTest, AFailedInitializationIsNotBalanced) {
    IN_CHILD_PROCESS(failsToInitialize());
}
TEST(ApartmentModeDeathTest, SecuritySettledByTheApplicationIsNoError) {
    IN_CHILD_PROCESS(isTooLateForSecurity());
}
TEST(ApartmentModeDeathTest, TheApplicationsOwnSecurityCounts) {
    IN_CHILD_PROCESS(applicationSecures());
}
TEST(ApartmentModeDeathTest, TheEnvironmentRaisesTheAuthenticationLevel) {
    const std::pair<std::string, DWORD> table[] = {{"none", 1},    {"connect", 2},  {"integrity", 5},
                                                   {"privacy", 6}, {"nonsense", 1}, {"", 1}};
    for (const auto& [asked, level] : table) {
        IN_CHILD_PROCESS(securesAsAsked(asked, level));
    }
}
TEST(ApartmentModeDeathTest, SecurityThatFailsIsReportedOnce) {
    IN_CHILD_PROCESS(failsToSecure());
}

}  // namespace
}  // namespace Korvex::Testing
