#include "com/hosting/LocalServer.h"
#include "com/hosting/windows/ClassRegistration.h"

namespace Korvex::Com {
namespace {

OpxString applicationKeyOf(const ModuleRegistration& registration) {
    return OLESTR("AppID\\") + registration.module.filename().native();
}

}  // namespace

HRESULT registerLocalServer(const ModuleRegistration& registration, REFGUID application) {
    const OpxString classKey = classKeyOf(registration.clsid);
    const OpxString id = guidText(application);
    std::vector<RegistryValue> values = classValues(registration);
    values.push_back({classKey, OLESTR("AppID"), id});
    values.push_back(
        {classKey + OLESTR("\\") + kProgramKey, {}, OLESTR("\"") + registration.module.native() + OLESTR("\"")});
    values.push_back({OLESTR("AppID\\") + id, {}, registration.module.stem().native()});
    values.push_back({applicationKeyOf(registration), OLESTR("AppID"), id});
    return writeClassesValues(values);
}

HRESULT unregisterLocalServer(const ModuleRegistration& registration, REFGUID application) {
    const HRESULT hr = deleteServerOfClass(registration, kProgramKey);
    if (isServedByEither(registration.clsid)) return hr;
    const HRESULT ofApplication =
        deleteClassesKeys({OLESTR("AppID\\") + guidText(application), applicationKeyOf(registration)});
    return failed(hr) ? hr : ofApplication;
}

}  // namespace Korvex::Com
