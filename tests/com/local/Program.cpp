// A server program for tests, and a client of it. Started by COM it does what KORVEX_TEST_PROGRAM says: "serve" its
// class, "end" at once, or "hang" without a class.
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/com/local/Conversation.h"

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

int start(const std::string& argument) {
    const std::string aboutThis = report(argument);
    std::FILE* const starts = std::fopen((Com::RuntimeFolder::open().path() / kStarts).c_str(), "a");
    std::fprintf(starts, "%d\n", static_cast<int>(::getpid()));
    std::fclose(starts);
    const std::string task = std::getenv("KORVEX_TEST_PROGRAM");
    if (task == "serve") return serve("process " + std::to_string(::getpid()) + "\n" + aboutThis);
    if (task == "hang") ::poll(nullptr, 0, -1);
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
    return argument == "visit" ? Korvex::Testing::visit(Korvex::Com::programPath()) : Korvex::Testing::start(argument);
}
