// A protocol that asks for a class and answers with a result and nothing else.
#pragma once

#include "com/portable/ClassTable.h"
#include "com/portable/local/LocalProtocol.h"
#include "tests/com/local/Conversation.h"

namespace Korvex::Testing {

class TestProtocol final : public Com::LocalProtocol {
public:
    void serve(std::unique_ptr<Com::LocalSocket> client) override {
        CLSID clsid = {};
        for (std::string asked = receive(*client); asked.size() == sizeof clsid; asked = receive(*client)) {
            asked.copy(reinterpret_cast<char*>(&clsid), sizeof clsid);
            Com::ComPtr<IUnknown> object;
            send(*client, std::to_string(Com::servedClassObject(clsid, IID_IUnknown, object.putVoid())));
        }
    }
    HRESULT classObject(std::unique_ptr<Com::LocalSocket> program, REFCLSID clsid, REFIID riid, void** ppv) override {
        send(*program, std::string(reinterpret_cast<const char*>(&clsid), sizeof clsid));
        const std::string answer = receive(*program);
        const HRESULT hr = answer.empty() ? kServerUnavailable : std::stoi(answer);
        return failed(hr) ? hr : farObject.QueryInterface(riid, ppv);
    }

    TestObject farObject;  // stands for that of the other program
};

// Lives as long as the process, which speaks it.
inline TestProtocol& speakTestProtocol() {
    static auto* const protocol = new TestProtocol;
    Com::useLocalProtocol(*protocol);
    return *protocol;
}

}  // namespace Korvex::Testing
