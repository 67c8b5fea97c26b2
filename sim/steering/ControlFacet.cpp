#include "sim/steering/ControlFacet.h"

#include "sim/steering/commands.h"
#include "sim/steering/serve.h"

namespace Korvex::Simulation {

HRESULT ControlFacet::Execute(LPCOLESTR command, LPOLESTR* answer) {
    if (!command || !answer) return E_POINTER;
    *answer = nullptr;
    return withoutThrowing([&]() -> HRESULT {
        try {
            *answer = giveText(fromUtf8(execute(toUtf8(command))));
            return S_OK;
        } catch (const CommandError& error) {
            *answer = giveText(fromUtf8(error.what()));
            return E_INVALIDARG;
        }
    });
}

}  // namespace Korvex::Simulation
