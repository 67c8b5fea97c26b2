#include <korvex/native/OpxServerIdentifier.h>

#include <utility>

namespace OpxOpc {
namespace {

const OLECHAR* prefixOf(ServerCategory category) {
    switch (category) {
        case ServerCategory::OPCDA:
            return OLESTR("opcda://");
        case ServerCategory::OPCDX:
            return OLESTR("opcdx://");
        case ServerCategory::OPCAE:
            return OLESTR("opcae://");
        case ServerCategory::OPCHDA:
            return OLESTR("opchda://");
        case ServerCategory::OPCXMLDA:
            break;
    }
    return OLESTR("");
}

}  // namespace

OpxServerIdentifier::OpxServerIdentifier(OpxString host, OpxString progId, OpxString clsid, ServerCategory category)
    : host_(std::move(host)), progId_(std::move(progId)), clsid_(std::move(clsid)), category_(category) {
    url_ = prefixOf(category_);
    url_.append(host_).append(OLESTR("/")).append(progId_).append(OLESTR("/")).append(clsid_);
}

}  // namespace OpxOpc
