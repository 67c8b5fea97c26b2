// One end of a connection between two programs of a user.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "com/com.h"
#include "com/portable/local/Deadline.h"
#include "com/portable/local/Descriptor.h"
#include "com/result_codes.h"

namespace Korvex::Com {

class RuntimeFolder;

// A stream of bytes. One thread may read while another writes. After a deadline has passed in the middle of a
// message the two ends disagree about where the next one begins: such a connection is to be shut down.
class LocalSocket {
public:
    enum class Result { done, closed, timedOut };

    // Takes over a connected socket.
    explicit LocalSocket(Descriptor socket) noexcept : socket_(std::move(socket)) {}

    // Connects to the program whose socket bears this name. Answers kServerUnavailable where no program listens,
    // kCallTimedOut, E_ACCESSDENIED for another user's program, or E_FAIL.
    static HRESULT connect(const RuntimeFolder& folder, const std::string& name, const Deadline& deadline,
                           std::unique_ptr<LocalSocket>& connected);

    // Fills `room`.
    Result read(std::span<std::byte> room, const Deadline& deadline);
    // Writes all parts, one after the other.
    Result write(std::span<const iovec> parts, const Deadline& deadline);

    // Ends the connection in both directions and wakes whoever reads or writes. Any thread may call.
    void shutdown() noexcept;

    bool isPeerThisUser() const noexcept;

private:
    const Descriptor socket_;
};

}  // namespace Korvex::Com
