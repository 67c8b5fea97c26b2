// Brings a lost connection back, server and subscriptions.
#pragma once

#include "com/com.h"

namespace OpxOpc {

class DaServerComPrivate;

// Works for the watch-dog of the connection, which it is a part of.
class Reconnector {
public:
    explicit Reconnector(DaServerComPrivate& connection) : connection_(connection) {}

    // Connects again and brings the subscriptions back.
    HRESULT reconnect();
    // Brings those back that a reconnect had to leave out.
    void recoverIncompleteSubscriptions();

private:
    HRESULT bringBackSubscriptions();
    void reportRefusedItems();

    DaServerComPrivate& connection_;
};

}  // namespace OpxOpc
