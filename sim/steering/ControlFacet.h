// ISimulationControl of a server object.
#pragma once

#include "sim/SimulationControl.h"
#include "sim/com/CompositeObject.h"

namespace Korvex::Simulation {

class ControlFacet final : public Facet<ISimulationControl> {
public:
    using Facet::Facet;

    HRESULT STDMETHODCALLTYPE Execute(LPCOLESTR command, LPOLESTR* answer) override;
};

}  // namespace Korvex::Simulation
