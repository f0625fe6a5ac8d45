// Direct3D7: the device factory with its enumerations of devices, depth
// formats and texture formats.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/object_ref.h"
#include "platform/profile.h"
#include "platform/records.h"
#include "platform/surface.h"

class Direct3DDevice7;

class Direct3DEnumDevices {
public:
    explicit Direct3DEnumDevices(std::vector<tarko::platform::DeviceInfo> devices) : devices_(std::move(devices)) {}
    tarko::Long getCount() const { return static_cast<tarko::Long>(devices_.size()); }
    // 1-based; an index outside 1..count raises DDERR_INVALIDPARAMS.
    std::string getName(tarko::Long index) const;
    std::string getGuid(tarko::Long index) const;
    void getDesc(tarko::Long index, D3DDEVICEDESC7& desc) const;

private:
    const tarko::platform::DeviceInfo& at(tarko::Long index) const;
    std::vector<tarko::platform::DeviceInfo> devices_;
};

class Direct3DEnumPixelFormats {
public:
    explicit Direct3DEnumPixelFormats(std::vector<DDPIXELFORMAT> formats) : formats_(std::move(formats)) {}
    tarko::Long getCount() const { return static_cast<tarko::Long>(formats_.size()); }
    // 1-based; an index outside 1..count raises DDERR_INVALIDPARAMS.
    void getItem(tarko::Long index, DDPIXELFORMAT& format) const;

private:
    std::vector<DDPIXELFORMAT> formats_;
};

class Direct3D7 {
public:
    tarko::Ref<Direct3DEnumDevices> getDevicesEnum() const;
    // Depth formats of a device GUID; an unknown GUID raises DDERR_INVALIDPARAMS.
    tarko::Ref<Direct3DEnumPixelFormats> getEnumZBufferFormats(const std::string& guid) const;
    // A device drawing into `target`; Nothing when the GUID is unknown, cannot be
    // created here, or the target is not a 3D device surface.
    tarko::Ref<Direct3DDevice7> createDevice(const std::string& guid, const tarko::Ref<DirectDrawSurface7>& target);
};
