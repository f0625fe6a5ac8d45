// The pixel routines in portable lanes, as machines without SSE2 run them; on
// x86-64 they are here so that tests can check they draw what the vector
// ones draw. (Where they are the baseline, pixel_stage.cpp has them.)
#if defined(__SSE2__) && !defined(TARKO_D3D_SCALAR)
#define TARKO_D3D_ISA portable
#include "platform/d3d/pixel_stage_body.h"
#endif
