// A server program for tests, and a client of it. Started by COM it does what KORVEX_TEST_PROGRAM says: "serve" its
// class, "register" it with COM, "end" at once, or "hang" without a class.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "com/hosting/LocalServer.h"
#include "tests/com/local/TestProtocol.h"

namespace Korvex::Testing {
namespace {

// How this process was started, in lines.
std::string report(const std::string& argument) {
    std::string text = "argument " + argument + "\n";
    text += "folder " + fs::current_path().string() + "\n";
    text += std::string("session ") + (::getsid(0) == ::getpid() ? "own" : "another's") + "\n";
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code ended;
        const std::string target = fs::read_symlink(entry, ended).string();
        if (target.find("/proc/") == 0) continue;  // the one that is listing
        text += "descriptor " + entry.path().filename().string() + " " + target + "\n";
    }
    for (const char* signals : {"SigBlk", "SigIgn"}) text += linesOf("/proc/self/status", signals);
    return text;
}

int serve(const std::string& aboutThis) {
    Com::LocalListener listener(Com::RuntimeFolder::open());
    Com::ClassDirectory(listener.folder()).add(kTestClass, listener.name());
    while (const auto client = listener.accept()) send(*client, aboutThis);
    return 0;
}

int registerWithCom() {
    speakTestProtocol();
    TestObject classObject;
    return Com::serveClasses({{kTestClass, &classObject}}, Com::Stay::untilRevoked);
}

int start(const std::string& argument) {
    const std::string aboutThis = report(argument);
    std::FILE* const starts = std::fopen((Com::RuntimeFolder::open().path() / kStarts).c_str(), "a");
    std::fprintf(starts, "%d\n", static_cast<int>(::getpid()));
    std::fclose(starts);
    const std::string task = std::getenv("KORVEX_TEST_PROGRAM");
    if (task == "serve") return serve("process " + std::to_string(::getpid()) + "\n" + aboutThis);
    if (task == "register") return registerWithCom();
    if (task == "hang") ::poll(nullptr, 0, -1);
    return 0;
}

// Tells after each step of a class's life whether other programs find it.
int live() {
    const Apartment apartment(COINIT_MULTITHREADED);
    speakTestProtocol();
    const auto folder = Com::RuntimeFolder::open();
    const auto tell = [&](const char* step) {
        const bool isFound = Com::ClassDirectory(folder).connect(kTestClass) != nullptr;
        std::printf("%s: %s\n", step, isFound ? "found" : "not found");
    };
    TestObject classObject;
    DWORD cookies[3] = {};
    CoRegisterClassObject(kTestClass, &classObject, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookies[0]);
    tell("for this process");
    CoRegisterClassObject(kTestClass, &classObject, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE | REGCLS_SUSPENDED,
                          &cookies[1]);
    tell("suspended");
    CoResumeClassObjects();
    tell("resumed");
    CoRegisterClassObject(kTestClass, &classObject, CLSCTX_LOCAL_SERVER, REGCLS_MULTIPLEUSE, &cookies[2]);
    CoRevokeClassObject(cookies[1]);
    tell("one of two revoked");
    CoSuspendClassObjects();
    tell("suspended again");
    CoResumeClassObjects();
    CoRevokeClassObject(cookies[2]);
    tell("revoked");
    CoRegisterClassObject(kTestClass, &classObject, CLSCTX_LOCAL_SERVER, REGCLS_SINGLEUSE, &cookies[1]);
    tell("for a single use");
    Com::ComPtr<IUnknown> used;
    Com::servedClassObject(kTestClass, IID_IUnknown, used.putVoid());
    tell("used");
    used.release();
    for (const DWORD cookie : {cookies[0], cookies[1]}) CoRevokeClassObject(cookie);
    return 0;
}

int visit(const fs::path& program) {
    const auto folder = Com::RuntimeFolder::open();
    const auto server = Com::ClassDirectory(folder).connectOrStart(kTestClass, program);
    std::fputs(receive(*server).c_str(), stdout);
    return 0;
}

}  // namespace
}  // namespace Korvex::Testing

int main(int, char** argv) {
    const std::string argument = argv[1];
    if (argument == "live") return Korvex::Testing::live();
    if (argument == "visit") return Korvex::Testing::visit(Korvex::Com::programPath());
    return Korvex::Testing::start(argument);
}
