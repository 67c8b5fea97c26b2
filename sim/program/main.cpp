// The simulation server as a program of its own, which COM starts for its clients. It serves the list of
// servers too where the machine has none.
#include <cstdio>

#include "com/ServerList.h"
#include "com/console.h"
#include "com/hosting/LocalServer.h"
#include "com/opc_interfaces.h"
#include "com/platform.h"
#include "sim/ProcessEnd.h"
#include "sim/ServerClass.h"
#include "sim/SimulationControl.h"
#include "sim/class_registrations.h"

namespace Korvex::Simulation {
namespace {

constexpr GUID kApplication = {0x6B0E7A55, 0x3D1C, 0x4F0A, {0x9C, 0x4E, 0x21, 0x5B, 0x77, 0xD0, 0x18, 0xE3}};

bool mayServeList() {
    return !Com::isServedElsewhere(serverListRegistration(Com::programPath()));
}

bool servesList() {
    return Com::isServedHere(serverListRegistration(Com::programPath()));
}

HRESULT registerProgram() {
    const HRESULT hr = Com::registerLocalServer(simulationRegistration(Com::programPath()), kApplication);
    if (failed(hr) || !mayServeList()) return hr;
    return Com::registerLocalServer(serverListRegistration(Com::programPath()), kApplication);
}

HRESULT unregisterProgram() {
    const HRESULT hr = Com::unregisterLocalServer(simulationRegistration(Com::programPath()), kApplication);
    if (failed(hr) || !servesList()) return hr;
    return Com::unregisterLocalServer(serverListRegistration(Com::programPath()), kApplication);
}

HRESULT serve(Com::Stay stay) {
    revokeProcess = &Com::revokeServedClasses;
    std::vector<Com::ServedClass> classes(2);
    classes[0].clsid = CLSID_KorvexSimulation;
    classes[1].clsid = CLSID_OpcServerList;
    HRESULT hr = getClassObject(CLSID_KorvexSimulation, IID_IUnknown, classes[0].classObject.putVoid());
    if (succeeded(hr)) hr = Com::serverListClassObject(IID_IUnknown, classes[1].classObject.putVoid());
    if (failed(hr)) return hr;
    if (!servesList()) classes.pop_back();
    return Com::serveClasses(classes, stay);
}

int usage() {
    std::fputs(
        "usage: KorvexSimulation -RegServer | -UnregServer | --serve\n"
        "Registers the simulation server with COM, which starts it for its clients, or takes that back; or serves\n"
        "clients until it is ended.\n",
        stderr);
    return 2;
}

int report(HRESULT hr) {
    if (succeeded(hr)) return 0;
    std::fprintf(stderr, "KorvexSimulation: 0x%08x\n", static_cast<unsigned>(hr));
    return 1;
}

int run(const std::vector<std::string>& arguments) {
    if (arguments.size() != 1 || arguments[0].empty()) return usage();
    if (arguments[0] == "--serve") return report(serve(Com::Stay::untilRevoked));
    // COM itself writes a minus, people use both signs.
    const std::string command = arguments[0].substr(arguments[0][0] == '/' || arguments[0][0] == '-' ? 1 : 0);
    if (command == "RegServer") return report(registerProgram());
    if (command == "UnregServer") return report(unregisterProgram());
    if (command == "Embedding") return report(serve(Com::Stay::whileUsed));
    return usage();
}

}  // namespace
}  // namespace Korvex::Simulation

int main(int argc, char** argv) {
    return Korvex::Simulation::run(Korvex::Com::programArguments(argc, argv));
}
