// The pixel routines in sixteen AVX-512 lanes; used only where the processor has them.
#if defined(TARKO_D3D_HAVE_AVX512) && !defined(TARKO_D3D_SCALAR)
#define TARKO_D3D_ISA avx512
#include "platform/d3d/pixel_stage_body.h"
#endif
