// What the machine reports: drivers, display modes, draw caps, 3D devices with
// their caps and formats. The defaults describe our software device; tests
// replace the profile to get a machine without blend caps, with one texture
// stage, with an 8-bit display and so on.
#pragma once

#include <string>
#include <vector>

#include "platform/records.h"

namespace tarko::platform {

struct DisplayDriver {
    std::string description;
    std::string guid;  // "" for the default driver
};

struct DisplayMode {
    int width = 0, height = 0, bits = 0;
};

struct DeviceInfo {
    std::string name;
    std::string guid;                          // "IID_IDirect3DRGBDevice", ...
    D3DDEVICEDESC7 caps;
    std::vector<DDPIXELFORMAT> texture_formats;  // in enumeration order
    std::vector<DDPIXELFORMAT> z_formats;
    bool can_create = true;                    // false: createDevice gives Nothing
};

struct MachineProfile {
    std::vector<DisplayDriver> drivers;
    std::vector<DisplayMode> display_modes;
    DDCAPS draw_caps;                          // hardware caps as getCaps reports them
    std::vector<DeviceInfo> devices;           // getDevicesEnum order
    long long free_video_memory = 64ll * 1024 * 1024;

    // The device for a GUID string, or nullptr.
    const DeviceInfo* device(const std::string& guid) const;
};

// The default: the software device ("IID_IDirect3DRGBDevice"); the hardware
// GUID enumerates z formats but cannot be created, so the engine falls back.
MachineProfile default_profile();

MachineProfile& profile();

// Replaces the profile for the life of the object.
class ScopedProfile {
public:
    explicit ScopedProfile(MachineProfile p);
    ~ScopedProfile();
    ScopedProfile(const ScopedProfile&) = delete;
    ScopedProfile& operator=(const ScopedProfile&) = delete;

private:
    MachineProfile saved_;
};

inline const char* const kHalGuid = "IID_IDirect3DHALDevice";
inline const char* const kRgbGuid = "IID_IDirect3DRGBDevice";

}  // namespace tarko::platform
