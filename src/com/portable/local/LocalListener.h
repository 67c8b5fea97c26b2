// The socket of a program, at which other programs of its user reach it.
#pragma once

#include <memory>
#include <string>

#include "com/portable/local/LocalSocket.h"
#include "com/portable/local/RuntimeFolder.h"

namespace Korvex::Com {

class LocalListener {
public:
    // Listens at a name of its own, and removes the sockets that programs left which crashed. Throws LocalFailure.
    explicit LocalListener(RuntimeFolder folder);
    ~LocalListener();
    LocalListener(const LocalListener&) = delete;
    LocalListener& operator=(const LocalListener&) = delete;

    const std::string& name() const noexcept { return name_; }
    const RuntimeFolder& folder() const noexcept { return folder_; }

    // Waits for a connection of a program of this user; null after shutdown().
    std::unique_ptr<LocalSocket> accept();

    // Takes no connections any more, removes the socket and wakes accept(). Any thread may call. Does nothing in a
    // child that the process forked: the socket is its parent's.
    void shutdown() noexcept;

private:
    const RuntimeFolder folder_;
    const std::string name_;
    const int process_;
    const Descriptor socket_;
};

}  // namespace Korvex::Com
