// The pixel routines in eight AVX2 lanes; used only where the processor has them.
#if defined(TARKO_D3D_HAVE_AVX2) && !defined(TARKO_D3D_SCALAR)
#define TARKO_D3D_ISA avx2
#include "platform/d3d/pixel_stage_body.h"
#endif
