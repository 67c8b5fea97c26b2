#include "tests/support/SimulationFixture.h"

#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <thread>
#include <utility>

#include "com/ComCalls.h"
#include "com/owners.h"
#include "sim/ServerClass.h"

namespace Korvex::Testing {
namespace {

void require(HRESULT hr, const char* what) {
    if (failed(hr)) throw std::runtime_error(std::string(what) + " " + hex(hr));
}

// Creates the server in whichever apartment the calling thread has, as COM does with a class of both
// models that is installed; a class object that is only registered serves the registering apartment.
HRESULT createHere(REFCLSID clsid, DWORD context, COSERVERINFO* server, DWORD count, MULTI_QI* results) {
    if (clsid != CLSID_KorvexSimulation) {
        return Com::platformComCalls().coCreateInstanceEx(clsid, context, server, count, results);
    }
    Com::ComPtr<IClassFactory> factory;
    HRESULT hr = Korvex::Simulation::getClassObject(clsid, IID_IClassFactory, factory.putVoid());
    for (DWORD i = 0; succeeded(hr) && i < count; ++i) {
        void* object = nullptr;
        hr = results[i].hr = factory->CreateInstance(nullptr, *results[i].pIID, &object);
        results[i].pItf = static_cast<IUnknown*>(object);
    }
    return hr;
}

class CreatedInEveryApartment {
public:
    CreatedInEveryApartment() : before_(std::exchange(Com::comCalls().coCreateInstanceEx, &createHere)) {}
    ~CreatedInEveryApartment() { Com::comCalls().coCreateInstanceEx = before_; }
    CreatedInEveryApartment(const CreatedInEveryApartment&) = delete;
    CreatedInEveryApartment& operator=(const CreatedInEveryApartment&) = delete;

private:
    const decltype(Com::ComCalls::coCreateInstanceEx) before_;
};

// KORVEX_TEST_SERVER=program has the simulation run in a process of its own, which is registered with COM.
DWORD contextOfServer() {
    static const bool isProgram = std::getenv("KORVEX_TEST_SERVER") != nullptr;
    return isProgram ? CLSCTX_LOCAL_SERVER : CLSCTX_INPROC_SERVER;
}

}  // namespace

std::string hex(std::int64_t code) {
    char digits[8];
    const auto end = std::to_chars(digits, digits + sizeof digits, static_cast<std::uint32_t>(code), 16).ptr;
    std::string text = "0x";
    return text.append(digits, end);
}

SimulationApartment::SimulationApartment(DWORD apartment) {
    require(CoInitializeEx(nullptr, apartment), "CoInitializeEx");
    if (contextOfServer() != CLSCTX_INPROC_SERVER) return;
    Com::ComPtr<IUnknown> factory;
    require(Korvex::Simulation::getClassObject(CLSID_KorvexSimulation, IID_IUnknown, factory.putVoid()),
            "class object");
    require(CoRegisterClassObject(CLSID_KorvexSimulation, factory.get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE,
                                  &registration_),
            "CoRegisterClassObject");
}

SimulationApartment::~SimulationApartment() {
    if (registration_ != 0) CoRevokeClassObject(registration_);
    CoUninitialize();
}

SimulationControl::SimulationControl() : SimulationControl(contextOfServer()) {}

SimulationControl::SimulationControl(DWORD context) {
    require(CoCreateInstance(CLSID_KorvexSimulation, nullptr, context, IID_ISimulationControl, control_.putVoid()),
            "simulation");
}

std::string SimulationControl::execute(const std::string& command) {
    std::string answer;
    const HRESULT hr = tryExecute(command, answer);
    EXPECT_EQ(hr, S_OK) << command << ": " << answer;
    return answer;
}

HRESULT SimulationControl::tryExecute(const std::string& command, std::string& answer) {
    LPOLESTR text = nullptr;
    const HRESULT hr = control_->Execute(fromUtf8(command).c_str(), &text);
    const Com::TaskString owner(text);
    answer = text ? toUtf8(text) : std::string();
    return hr;
}

void SimulationControl::reset() {
    execute("reset");
    if (const char* const dataAccess = std::getenv("KORVEX_TEST_PROFILE"))
        execute(std::string("profile ") + dataAccess);
}

void SimulationControl::fault(const std::string& method, HRESULT code, int nth) {
    std::string command = "fault " + method + " " + hex(code);
    if (nth > 0) command.append(" ").append(std::to_string(nth));
    execute(command);
}

std::vector<std::string> SimulationControl::journal(const std::string& method) {
    std::vector<std::string> calls;
    for (std::string& line : journal()) {
        if (line.rfind(method + " ", 0) == 0) calls.push_back(std::move(line));
    }
    return calls;
}

std::map<std::string, int> SimulationControl::counts() {
    std::map<std::string, int> found;
    for (const std::string& line : linesOf(execute("counts"))) {
        const auto sign = line.find('=');
        if (sign != std::string::npos) found[line.substr(0, sign)] = std::stoi(line.substr(sign + 1));
    }
    return found;
}

std::vector<std::string> SimulationControl::linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const auto end = std::min(text.find('\n', begin), text.size());
        if (end > begin) lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

void SimulationFixture::inSingleThreadedApartment(const std::function<void()>& body) {
    const CreatedInEveryApartment everywhere;
    std::thread([&] {
        const SimulationApartment apartment(COINIT_APARTMENTTHREADED);
        body();
    }).join();
}

}  // namespace Korvex::Testing
