// IOPCBrowse of a server object.
#pragma once

#include <memory>
#include <vector>

#include "com/Mutex.h"
#include "sim/plant/Plant.h"
#include "sim/server/ServerFacet.h"

namespace Korvex::Simulation {

class BrowseFacet final : public ServerFacet<IOPCBrowse> {
public:
    using ServerFacet::ServerFacet;

    HRESULT STDMETHODCALLTYPE GetProperties(DWORD itemCount, LPWSTR* itemIds, BOOL withValues, DWORD propertyCount,
                                            DWORD* propertyIds, OPCITEMPROPERTIES** properties) override;
    HRESULT STDMETHODCALLTYPE Browse(LPWSTR itemId, LPWSTR* continuationPoint, DWORD maximum, OPCBROWSEFILTER filter,
                                     LPWSTR namePattern, LPWSTR vendorFilter, BOOL allProperties, BOOL withValues,
                                     DWORD propertyCount, DWORD* propertyIds, BOOL* moreElements, DWORD* count,
                                     OPCBROWSEELEMENT** elements) override;

private:
    struct Question {
        OpxString branch;
        OPCBROWSEFILTER filter = OPC_BROWSE_FILTER_ALL;
        OpxString pattern;

        bool operator==(const Question&) const = default;
    };
    using Answer = std::shared_ptr<const std::vector<Element>>;

    HRESULT elementsFor(const Question& question, bool goesOn, Answer& answer);
    void forgetAnswer();

    Mutex mutex_;
    Question lastQuestion_ GUARDED_BY(mutex_);
    Answer lastAnswer_ GUARDED_BY(mutex_);  // of a browse that is not finished
};

}  // namespace Korvex::Simulation
