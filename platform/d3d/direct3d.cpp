// The device factory and its enumerations, read from the machine profile.
#include "platform/d3d/direct3d.h"

#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "platform/status.h"
#include "platform/trace.h"

using tarko::Long;
namespace platform = tarko::platform;

const platform::DeviceInfo& Direct3DEnumDevices::at(Long index) const {
    if (index < 1 || index > getCount()) platform::fail(platform::DDERR_INVALIDPARAMS, "Direct3DEnumDevices");
    return devices_[static_cast<std::size_t>(index - 1)];
}

std::string Direct3DEnumDevices::getName(Long index) const { return at(index).name; }
std::string Direct3DEnumDevices::getGuid(Long index) const { return at(index).guid; }
void Direct3DEnumDevices::getDesc(Long index, D3DDEVICEDESC7& desc) const { desc = at(index).caps; }

void Direct3DEnumPixelFormats::getItem(Long index, DDPIXELFORMAT& format) const {
    if (index < 1 || index > getCount()) platform::fail(platform::DDERR_INVALIDPARAMS, "getItem");
    format = formats_[static_cast<std::size_t>(index - 1)];
}

tarko::Ref<Direct3DEnumDevices> Direct3D7::getDevicesEnum() const {
    platform::record("Direct3D7", "getDevicesEnum");
    return tarko::Ref<Direct3DEnumDevices>(std::make_shared<Direct3DEnumDevices>(platform::profile().devices));
}

tarko::Ref<Direct3DEnumPixelFormats> Direct3D7::getEnumZBufferFormats(const std::string& guid) const {
    platform::record("Direct3D7", "getEnumZBufferFormats", guid);
    const auto* device = platform::profile().device(guid);
    if (!device) platform::fail(platform::DDERR_INVALIDPARAMS, "getEnumZBufferFormats " + guid);
    return tarko::Ref<Direct3DEnumPixelFormats>(std::make_shared<Direct3DEnumPixelFormats>(device->z_formats));
}

tarko::Ref<Direct3DDevice7> Direct3D7::createDevice(const std::string& guid,
                                                     const tarko::Ref<DirectDrawSurface7>& target) {
    platform::record("Direct3D7", "createDevice", guid);
    const auto* device = platform::profile().device(guid);
    if (!device || !device->can_create || !target || !(target->caps() & dx::DDSCAPS_3DDEVICE) ||
        !(target->format().bits() == 16 || target->format().bits() == 32))
        return {};
    return tarko::Ref<Direct3DDevice7>(std::make_shared<Direct3DDevice7>(guid, target));
}
