// The pixel routines in the baseline instruction set (SSE2 on x86-64, plain
// lanes elsewhere), and the choice among them, the AVX2 ones and the
// portable ones.
#include "platform/d3d/pixel_stage_body.h"

namespace tarko::platform::d3d {

bool wide_pixels_available() {
#if defined(TARKO_D3D_HAVE_AVX2) && !defined(TARKO_D3D_SCALAR)
    static const bool available = __builtin_cpu_supports("avx2");
    return available;
#else
    return false;
#endif
}

DrawContext::RasterFn select_raster(TargetKind target, DepthKind depth, CascadeKind cascade, Routines kind) {
#if defined(TARKO_D3D_HAVE_AVX2) && !defined(TARKO_D3D_SCALAR)
    if (kind == Routines::Best && wide_pixels_available()) return avx2::select_raster(target, depth, cascade);
#endif
    if (kind == Routines::Portable) return portable::select_raster(target, depth, cascade);
    return TARKO_D3D_ISA::select_raster(target, depth, cascade);
}

}  // namespace tarko::platform::d3d
