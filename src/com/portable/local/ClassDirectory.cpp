#include "com/portable/local/ClassDirectory.h"

#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <thread>

#include "com/owners.h"
#include "com/portable/local/LocalFailure.h"
#include "com/portable/local/ProgramLauncher.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kBetweenLooks(10);

std::string linkOf(REFCLSID clsid) {
    LPOLESTR text = nullptr;
    if (failed(StringFromCLSID(clsid, &text))) throw LocalFailure(E_OUTOFMEMORY, "a class's name");
    return toUtf8(TaskString(text).get());
}

LocalFailure tookTooLong(const fs::path& program) {
    return LocalFailure(CO_E_SERVER_EXEC_FAILURE, program.string() + ": did not register its class in time");
}

}  // namespace

void ClassDirectory::add(REFCLSID clsid, const std::string& socket) const {
    const std::string link = linkOf(clsid);
    const std::string fresh = link + ".new";
    const auto lock = folder_.lockForChange();
    ::unlinkat(folder_.descriptor(), fresh.c_str(), 0);  // of a program that crashed right here
    if (::symlinkat(socket.c_str(), folder_.descriptor(), fresh.c_str()) != 0 ||
        ::renameat(folder_.descriptor(), fresh.c_str(), folder_.descriptor(), link.c_str()) != 0)
        throw systemFailure(E_FAIL, (folder_.path() / link).string());
}

void ClassDirectory::remove(REFCLSID clsid, const std::string& socket) const {
    const std::string link = linkOf(clsid);
    const auto lock = folder_.lockForChange();
    if (socketOf(link) == socket) ::unlinkat(folder_.descriptor(), link.c_str(), 0);
}

std::unique_ptr<LocalSocket> ClassDirectory::connect(REFCLSID clsid) const {
    const std::string socket = socketOf(linkOf(clsid));
    if (socket.empty()) return nullptr;
    std::unique_ptr<LocalSocket> connected;
    const HRESULT hr = LocalSocket::connect(folder_, socket, Deadline::in(kConnectingLasts), connected);
    if (hr == kServerUnavailable)
        remove(clsid, socket);
    else if (failed(hr))
        throw LocalFailure(hr, (folder_.path() / socket).string() + ": cannot be connected to");
    return connected;
}

std::unique_ptr<LocalSocket> ClassDirectory::connectOrStart(REFCLSID clsid, const fs::path& program,
                                                            std::chrono::milliseconds patience) const {
    const Deadline deadline = Deadline::in(patience);
    const std::string turn = linkOf(clsid) + ".starting";
    for (;;) {
        if (auto connected = connect(clsid)) return connected;
        if (const auto ours = folder_.tryLock(turn)) return start(clsid, program, deadline);
        if (deadline.hasPassed()) throw tookTooLong(program);
        std::this_thread::sleep_for(kBetweenLooks);
    }
}

// Under the lock that says whose turn it is to start.
std::unique_ptr<LocalSocket> ClassDirectory::start(REFCLSID clsid, const fs::path& program,
                                                   const Deadline& deadline) const {
    if (auto connected = connect(clsid)) return connected;
    const StartedProgram started = startProgram(program);
    for (bool hasEnded = false;;) {
        if (auto connected = connect(clsid)) return connected;
        if (hasEnded)
            throw LocalFailure(CO_E_SERVER_EXEC_FAILURE, program.string() + ": ended before it registered its class");
        if (deadline.hasPassed()) throw tookTooLong(program);
        hasEnded = started.hasEndedIn(kBetweenLooks);
    }
}

// Empty where there is no such link.
std::string ClassDirectory::socketOf(const std::string& link) const {
    std::array<char, NAME_MAX + 1> name;
    const ssize_t length = ::readlinkat(folder_.descriptor(), link.c_str(), name.data(), name.size());
    return length <= 0 ? std::string() : std::string(name.data(), static_cast<std::size_t>(length));
}

}  // namespace Korvex::Com
