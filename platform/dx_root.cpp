// The root object: factories, clock and window rectangles.
#include "platform/dx_root.h"

#include "platform/status.h"
#include "platform/trace.h"
#include "platform/window.h"
#include "runtime/services.h"

using tarko::Long;
namespace platform = tarko::platform;

Long DirectDrawEnum::getCount() const { return static_cast<Long>(platform::profile().drivers.size()); }

static const platform::DisplayDriver& driver_at(Long index) {
    const auto& drivers = platform::profile().drivers;
    if (index < 1 || index > static_cast<Long>(drivers.size()))
        platform::fail(platform::DDERR_INVALIDPARAMS, "DirectDrawEnum");
    return drivers[static_cast<std::size_t>(index - 1)];
}

std::string DirectDrawEnum::getDescription(Long index) const { return driver_at(index).description; }
std::string DirectDrawEnum::getGuid(Long index) const { return driver_at(index).guid; }
std::string DirectDrawEnum::getName(Long index) const { return driver_at(index).description; }

tarko::Ref<DirectDraw7> DirectX7::directDrawCreate(const std::string& guid) {
    platform::record("DirectX7", "directDrawCreate", guid);
    if (!guid.empty()) {
        bool known = false;
        for (const auto& d : platform::profile().drivers) known = known || d.guid == guid;
        if (!known) platform::fail(platform::DDERR_INVALIDPARAMS, "directDrawCreate " + guid);
    }
    return tarko::Ref<DirectDraw7>(std::make_shared<DirectDraw7>(guid));
}

tarko::Ref<DirectInput> DirectX7::directInputCreate() {
    platform::record("DirectX7", "directInputCreate");
    return tarko::Ref<DirectInput>(std::make_shared<DirectInput>());
}

tarko::Ref<DirectDrawEnum> DirectX7::getDDEnum() { return tarko::Ref<DirectDrawEnum>(std::make_shared<DirectDrawEnum>()); }

Long DirectX7::tickCount() const { return tarko::runtime::tick_count(); }

void DirectX7::getWindowRect(Long hwnd, RECT& rect) const {
    platform::record("DirectX7", "getWindowRect", hwnd);
    rect = platform::windows().get(hwnd)->client_rect_on_screen();
}
