// Releases a server that may not answer any more, on a thread of its own.
#pragma once

#include <memory>
#include <vector>

#include "opc/group/DaGroupMgt.h"
#include "opc/server/DaServerMgt.h"
#include "threads/OpxThread.h"

namespace OpxOpc {

// Gives up a connection and its groups on a thread of its own, so that nobody else waits for a dead
// server. The server and any group may be null. A call in progress that shares one of them keeps it
// until it returns.
class TerminateOpcThread final : public OpxThread {
public:
    using Groups = std::vector<std::shared_ptr<DaGroupMgt>>;

    // With `removeGroups` the server is asked to remove the groups, else they are only given up.
    TerminateOpcThread(bool removeGroups, std::shared_ptr<DaServerMgt> server, Groups groups);
    ~TerminateOpcThread() override;

    // The next job of a thread that is not running.
    void reuse(bool removeGroups, std::shared_ptr<DaServerMgt> server, Groups groups);

private:
    void run() override;
    void removeGroupsFromServer();
    void deleteGroups();
    void disconnectServer();

    bool removeGroups_;
    std::shared_ptr<DaServerMgt> server_;
    Groups groups_;
};

}  // namespace OpxOpc
