// The pixel routines in the baseline instruction set (SSE2 on x86-64, plain
// lanes elsewhere), and the choice between them and the AVX2 ones.
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

DrawContext::RasterFn select_raster(TargetKind target, DepthKind depth, CascadeKind cascade, bool wide) {
#if defined(TARKO_D3D_HAVE_AVX2) && !defined(TARKO_D3D_SCALAR)
    if (wide && wide_pixels_available()) return avx2::select_raster(target, depth, cascade);
#endif
    (void)wide;
    return TARKO_D3D_ISA::select_raster(target, depth, cascade);
}

}  // namespace tarko::platform::d3d
