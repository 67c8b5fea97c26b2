#include "com/portable/local/LocalSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <vector>

#include "com/portable/local/RuntimeFolder.h"
#include "com/portable/local/socket_address.h"

namespace Korvex::Com {
namespace {

using Result = LocalSocket::Result;

// Connecting waits as sending does: while the other end has as many connections waiting as it takes.
void limitConnecting(int socket, std::chrono::milliseconds limit) {
    timeval time = {};
    time.tv_sec = static_cast<time_t>(limit.count() / 1000);
    time.tv_usec = static_cast<suseconds_t>(limit.count() % 1000 * 1000);
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time);
}

int connectBefore(int socket, const sockaddr_un& address, const Deadline& deadline) {
    for (;;) {
        if (!deadline.isNever()) limitConnecting(socket, std::max(deadline.left(), std::chrono::milliseconds(1)));
        if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) break;
        if (errno != EINTR) return errno;
    }
    limitConnecting(socket, std::chrono::milliseconds(0));  // which is none
    return 0;
}

HRESULT resultOfConnecting(int error) {
    switch (error) {
        case ECONNREFUSED:
        case ENOENT:
            return kServerUnavailable;
        case EAGAIN:
            return kCallTimedOut;
        default:
            return E_FAIL;
    }
}

// With a deadline it is poll() that waits, and nothing else.
int flagsFor(const Deadline& deadline) {
    return MSG_NOSIGNAL | (deadline.isNever() ? 0 : MSG_DONTWAIT);
}

// Waits after a transfer that moved nothing. Answers `done` where another attempt is worth it.
Result waitForMore(int socket, short event, const Deadline& deadline) {
    if (errno == EINTR) return Result::done;
    if (errno != EAGAIN) return Result::closed;
    pollfd waited = {socket, event, 0};
    if (::poll(&waited, 1, deadline.pollTime()) < 0 && errno != EINTR) return Result::closed;
    return deadline.hasPassed() ? Result::timedOut : Result::done;
}

void skip(std::vector<iovec>& parts, std::size_t& first, std::size_t bytes) {
    for (; first != parts.size() && bytes >= parts[first].iov_len; ++first) bytes -= parts[first].iov_len;
    if (first == parts.size()) return;
    parts[first].iov_base = static_cast<std::byte*>(parts[first].iov_base) + bytes;
    parts[first].iov_len -= bytes;
}

}  // namespace

HRESULT LocalSocket::connect(const RuntimeFolder& folder, const std::string& name, const Deadline& deadline,
                             std::unique_ptr<LocalSocket>& connected) {
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = socketAddress(folder, name);
    if (!socket || !address) return E_FAIL;
    if (const int error = connectBefore(socket.get(), *address, deadline); error != 0) return resultOfConnecting(error);
    auto attempt = std::make_unique<LocalSocket>(std::move(socket));
    if (!attempt->isPeerThisUser()) return E_ACCESSDENIED;
    connected = std::move(attempt);
    return S_OK;
}

Result LocalSocket::read(std::span<std::byte> room, const Deadline& deadline) {
    const int flags = flagsFor(deadline) | MSG_WAITALL;
    while (!room.empty()) {
        const ssize_t got = ::recv(socket_.get(), room.data(), room.size(), flags);
        if (got == 0) return Result::closed;
        if (got > 0) {
            room = room.subspan(static_cast<std::size_t>(got));
        } else if (const Result waited = waitForMore(socket_.get(), POLLIN, deadline); waited != Result::done) {
            return waited;
        }
    }
    return Result::done;
}

Result LocalSocket::write(std::span<const iovec> parts, const Deadline& deadline) {
    std::vector<iovec> left(parts.begin(), parts.end());
    std::size_t first = 0;
    skip(left, first, 0);
    while (first != left.size()) {
        msghdr message = {};
        message.msg_iov = &left[first];
        message.msg_iovlen = std::min<std::size_t>(left.size() - first, IOV_MAX);
        const ssize_t sent = ::sendmsg(socket_.get(), &message, flagsFor(deadline));
        if (sent >= 0) {
            skip(left, first, static_cast<std::size_t>(sent));
        } else if (const Result waited = waitForMore(socket_.get(), POLLOUT, deadline); waited != Result::done) {
            return waited;
        }
    }
    return Result::done;
}

void LocalSocket::shutdown() noexcept {
    ::shutdown(socket_.get(), SHUT_RDWR);
}

bool LocalSocket::isPeerThisUser() const noexcept {
    ucred peer = {};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket_.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

}  // namespace Korvex::Com
