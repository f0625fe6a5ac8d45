// GLOB: makers and matrix helpers over the kernel.
#include "maths/GLOB.h"

using tarko::Variant;
namespace maths = tarko::maths;

namespace {
// Shared by MTranslate, MScale and MRotate only; rewritten before each use.
thread_local D3DMATRIX glob_scratch;
}  // namespace

D3DVECTOR GLOB::VAdd(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::add(A, B); }
D3DVECTOR GLOB::VScale(const D3DVECTOR& Src, float S) { return maths::scale(Src, S); }
D3DVECTOR GLOB::VCopy(const D3DVECTOR& Src) { return Src; }

D3DVECTOR GLOB::Vector(const Variant& X, const Variant& Y, const Variant& Z) {
    return {X.to_single(), Y.to_single(), Z.to_single()};
}

D3DVECTOR GLOB::MakeVector(float& X, float& Y, float& Z) { return {X, Y, Z}; }

D3DVERTEX GLOB::MakeVertex(const Variant& X, const Variant& Y, const Variant& Z, const Variant& nx,
                           const Variant& ny, const Variant& nz, const Variant& tu, const Variant& tv) {
    return {X.to_single(),  Y.to_single(),  Z.to_single(),  nx.to_single(),
            ny.to_single(), nz.to_single(), tu.to_single(), tv.to_single()};
}

D3DLVERTEX GLOB::MakeLVertex(const Variant& X, const Variant& Y, const Variant& Z, const Variant& color,
                             const Variant& tu, const Variant& tv) {
    const tarko::Long c = color.to_long();
    return {X.to_single(), Y.to_single(), Z.to_single(), 0, c, c, tu.to_single(), tv.to_single()};
}

D3DTLVERTEX GLOB::MakeTLVertex(const Variant& sx, const Variant& sy, const Variant& sz, const Variant& color,
                               const Variant& tu, const Variant& tv) {
    const tarko::Long c = color.to_long();
    return {sx.to_single(), sy.to_single(), sz.to_single(), 0.5f, c, c, tu.to_single(), tv.to_single()};
}

D3DCOLORVALUE GLOB::MakeColorValue(const Variant& r, const Variant& g, const Variant& b, const Variant& a) {
    return {r.to_single(), g.to_single(), b.to_single(), a.to_single()};
}

void GLOB::MIdentity(D3DMATRIX& dMatrix) { dMatrix = maths::identity(); }

D3DMATRIX GLOB::MTranslate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::translate(dSource, nValueX, nValueY, nValueZ, glob_scratch);
}

D3DMATRIX GLOB::MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::scale(dSource, nValueX, nValueY, nValueZ, glob_scratch);
}

D3DMATRIX GLOB::MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ, float DegreeFactor) {
    return maths::rotate_degrees(dSource, nValueX, nValueY, nValueZ, DegreeFactor, glob_scratch);
}

D3DMATRIX GLOB::MMultiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2) { return maths::multiply(dM2, dM1); }

void GLOB::RoundTextureSize(tarko::Long& w, tarko::Long& h) {
    w = maths::round_texture_side(w);
    h = maths::round_texture_side(h);
}
