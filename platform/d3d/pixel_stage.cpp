// The pixel routines in the baseline instruction set (SSE2 on x86-64, plain
// lanes elsewhere), and the choice among them, the AVX-512 and AVX2 ones and
// the portable ones.
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

bool widest_pixels_available() {
#if defined(TARKO_D3D_HAVE_AVX512) && !defined(TARKO_D3D_SCALAR)
    static const bool available = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                                  __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl");
    return available;
#else
    return false;
#endif
}

int lanes_of(Routines kind) {
    if (kind == Routines::Best && widest_pixels_available()) return 16;
    if ((kind == Routines::Best || kind == Routines::EightLanes) && wide_pixels_available()) return 8;
    if (kind == Routines::Portable) return 0;
    return TARKO_D3D_ISA_IS(portable) ? 0 : 4;
}

DrawContext::RasterFn select_raster(TargetKind target, DepthKind depth, CascadeKind cascade, Routines kind) {
    switch (lanes_of(kind)) {
#if defined(TARKO_D3D_HAVE_AVX512) && !defined(TARKO_D3D_SCALAR)
    case 16: return avx512::select_raster(target, depth, cascade);
#endif
#if defined(TARKO_D3D_HAVE_AVX2) && !defined(TARKO_D3D_SCALAR)
    case 8: return avx2::select_raster(target, depth, cascade);
#endif
    default: break;
    }
    if (kind == Routines::Portable) return portable::select_raster(target, depth, cascade);
    return TARKO_D3D_ISA::select_raster(target, depth, cascade);
}

}  // namespace tarko::platform::d3d
