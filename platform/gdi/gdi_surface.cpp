// Device contexts over surfaces: DirectDrawSurface7::getDC and releaseDC.
#include <memory>

#include "platform/gdi/gdi.h"
#include "platform/status.h"
#include "platform/surface.h"

namespace tarko::platform::gdi {
namespace {

// Window-system drawing never sets alpha bits, so a later colour-key pass can
// tell drawn pixels from keyed ones; 24 -> 16 bits drops the low bits.
class SurfaceTarget final : public DcTarget {
public:
    explicit SurfaceTarget(std::shared_ptr<DirectDrawSurface7> surface) : surface_(std::move(surface)) {}
    int width() const override { return surface_->width(); }
    int height() const override { return surface_->height(); }
    std::uint32_t get(int x, int y) const override { return surface_->argb_at(x, y) & 0xFFFFFFu; }
    void set(int x, int y, std::uint32_t rgb) override {
        surface_->set_raw(x, y, surface_->format().from_rgb_no_alpha(0xFF000000u | rgb));
    }
    DirectDrawSurface7* surface() const { return surface_.get(); }

private:
    std::shared_ptr<DirectDrawSurface7> surface_;
};

}  // namespace
}  // namespace tarko::platform::gdi

tarko::Long DirectDrawSurface7::getDC() {
    settle();
    return tarko::platform::gdi::register_target_dc(
        std::make_shared<tarko::platform::gdi::SurfaceTarget>(shared_from_this()));
}

void DirectDrawSurface7::releaseDC(tarko::Long hdc) {
    namespace gdi = tarko::platform::gdi;
    auto target = std::dynamic_pointer_cast<gdi::SurfaceTarget>(gdi::target_of(hdc));
    if (!target || target->surface() != this) tarko::platform::fail(tarko::platform::DDERR_INVALIDPARAMS, "releaseDC");
    gdi::unregister_target_dc(hdc);
    touch();
}
