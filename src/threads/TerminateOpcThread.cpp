#include "threads/TerminateOpcThread.h"

#include <utility>

#include "opc/apartment/BackgroundApartment.h"
#include "trace/LibT.h"

namespace OpxOpc {
namespace {

template <typename Step>
void attempt(TraceFormat<> errorLine, Step&& step) noexcept {
    try {
        step();
    } catch (...) {
        LibT::lError(errorLine);
    }
}

}  // namespace

TerminateOpcThread::TerminateOpcThread(bool removeGroups, std::shared_ptr<DaServerMgt> server, Groups groups)
    : removeGroups_(removeGroups), server_(std::move(server)), groups_(std::move(groups)) {
    LibT::lCtor("Ctor TerminateOpcThread");
}

TerminateOpcThread::~TerminateOpcThread() {
    wait();
    LibT::lCtor("Dtor TerminateOpcThread");
}

void TerminateOpcThread::reuse(bool removeGroups, std::shared_ptr<DaServerMgt> server, Groups groups) {
    wait();
    removeGroups_ = removeGroups;
    server_ = std::move(server);
    groups_ = std::move(groups);
}

void TerminateOpcThread::run() {
    LibT::lInOut("--> TerminateOpcThread::run");
    {
        const BackgroundApartment apartment;
        attempt("Error: TerminateOpcThread::run - Error at removing groups in terminate thread",
                [this] { removeGroupsFromServer(); });
        attempt("Error: TerminateOpcThread::run - Error at deleting groups in terminate thread",
                [this] { deleteGroups(); });
        attempt("Error: TerminateOpcThread::run - Error at disconnecting server in terminate thread",
                [this] { disconnectServer(); });
        groups_.clear();
        removeGroups_ = false;
    }
    LibT::lInOut("<-- TerminateOpcThread::run");
}

void TerminateOpcThread::removeGroupsFromServer() {
    if (!removeGroups_ || !server_) return;
    for (auto& group : groups_) {
        if (group && succeeded(server_->removeGroup(group.get()))) group.reset();
    }
}

void TerminateOpcThread::deleteGroups() {
    for (auto& group : groups_) {
        // A group that a call still shares is given up here all the same and not by that call's thread.
        if (group && group.use_count() > 1) group->clear();
        group.reset();
    }
}

void TerminateOpcThread::disconnectServer() {
    const auto server = std::exchange(server_, nullptr);
    if (server) server->disconnectOPCServer();
}

}  // namespace OpxOpc
