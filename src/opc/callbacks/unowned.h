// A callback that its owner keeps alive, where a shared one is asked for.
#pragma once

#include <memory>

#include <korvex/native/OpxDataCallback.h>

namespace OpxOpc {

inline std::shared_ptr<OpxDataCallback> unowned(OpxDataCallback* callback) {
    return {std::shared_ptr<OpxDataCallback>(), callback};
}

}  // namespace OpxOpc
