#include "com/portable/local/LocalListener.h"

#include <sys/random.h>
#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "com/portable/local/LocalFailure.h"
#include "com/portable/local/socket_address.h"

namespace Korvex::Com {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSocketExtension = ".socket";

std::string newName() {
    std::uint64_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number) throw systemFailure(E_FAIL, "a socket's name");
    return std::to_string(::getpid()) + "-" + std::to_string(number) + kSocketExtension;
}

bool isDead(const RuntimeFolder& folder, const std::string& socket) {
    std::unique_ptr<LocalSocket> alive;
    return LocalSocket::connect(folder, socket, Deadline::in({}), alive) == kServerUnavailable;
}

// Under the folder's lock, so that no socket is met between its birth and its first ear.
void removeDeadSockets(const RuntimeFolder& folder) {
    std::error_code error;
    std::vector<std::string> sockets;
    for (fs::directory_iterator entry(folder.shortPath(""), error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == kSocketExtension) sockets.push_back(entry->path().filename());
    }
    for (const std::string& socket : sockets) {
        if (isDead(folder, socket)) ::unlinkat(folder.descriptor(), socket.c_str(), 0);
    }
}

Descriptor listenAt(const RuntimeFolder& folder, const std::string& name) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = socketAddress(folder, name);
    if (!socket || !address) throw systemFailure(E_FAIL, "a socket");
    const auto lock = folder.lockForChange();
    removeDeadSockets(folder);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&*address), sizeof *address) != 0 ||
        ::listen(socket.get(), SOMAXCONN) != 0)
        throw systemFailure(E_FAIL, (folder.path() / name).string());
    return socket;
}

bool isWorthAnotherAttempt(int error) {
    return error == EINTR || error == ECONNABORTED;
}

bool isForWantOfRoom(int error) {
    return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

}  // namespace

LocalListener::LocalListener(RuntimeFolder folder)
    : folder_(std::move(folder)), name_(newName()), process_(::getpid()), socket_(listenAt(folder_, name_)) {
    folder_.keepFromCleaners();
}

LocalListener::~LocalListener() {
    shutdown();
}

std::unique_ptr<LocalSocket> LocalListener::accept() {
    constexpr std::chrono::milliseconds kUntilThereIsRoom(100);
    for (;;) {
        Descriptor accepted(::accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
        const int error = errno;
        if (accepted) {
            auto connection = std::make_unique<LocalSocket>(std::move(accepted));
            if (connection->isPeerThisUser()) return connection;
        } else if (isForWantOfRoom(error)) {
            std::this_thread::sleep_for(kUntilThereIsRoom);
        } else if (!isWorthAnotherAttempt(error)) {
            return nullptr;
        }
    }
}

void LocalListener::shutdown() noexcept {
    if (process_ != ::getpid()) return;
    ::shutdown(socket_.get(), SHUT_RDWR);
    ::unlinkat(folder_.descriptor(), name_.c_str(), 0);
}

}  // namespace Korvex::Com
