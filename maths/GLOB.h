// GLOB: the private module of vector, matrix and record makers that the other
// classes share. Its matrix operations use one scratch matrix per thread (the
// apartment), so calls on one thread must not overlap.
#pragma once

#include "maths/kernel.h"
#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/variant.h"

class GLOB {
public:
    GLOB() = delete;

    static D3DVECTOR VAdd(const D3DVECTOR& A, const D3DVECTOR& B);
    static D3DVECTOR VScale(const D3DVECTOR& Src, float S);
    static D3DVECTOR VCopy(const D3DVECTOR& Src);

    // Each Variant coerced to Single; a Variant without a number raises Type mismatch.
    static D3DVECTOR Vector(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& Z);
    static D3DVECTOR MakeVector(float& X, float& Y, float& Z);
    static D3DVERTEX MakeVertex(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& Z,
                                const tarko::Variant& nx, const tarko::Variant& ny, const tarko::Variant& nz,
                                const tarko::Variant& tu, const tarko::Variant& tv);
    // color (a Long) fills both the colour and the specular field; reserved 0.
    static D3DLVERTEX MakeLVertex(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& Z,
                                  const tarko::Variant& color, const tarko::Variant& tu, const tarko::Variant& tv);
    // rhw is 0.5; color fills the colour and the specular field.
    static D3DTLVERTEX MakeTLVertex(const tarko::Variant& sx, const tarko::Variant& sy, const tarko::Variant& sz,
                                    const tarko::Variant& color, const tarko::Variant& tu, const tarko::Variant& tv);
    static D3DCOLORVALUE MakeColorValue(const tarko::Variant& r, const tarko::Variant& g, const tarko::Variant& b,
                                        const tarko::Variant& a);

    static void MIdentity(D3DMATRIX& dMatrix);
    // dSource x translation, dSource x scale, dSource x Rx x Ry x Rz; the source is read, not changed.
    static D3DMATRIX MTranslate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    static D3DMATRIX MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    // Degrees times `DegreeFactor`. The module keeps no factor of its own: callers
    // pass theirs, and the default is that of cMATH (3.14598745148 / 180).
    static D3DMATRIX MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ,
                             float DegreeFactor = tarko::maths::kMathDegreeFactor);
    // dM2 x dM1: applied to a point, dM2 first, then dM1.
    static D3DMATRIX MMultiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2);

    // In place, each side by the ladder 4, 8, 16, 32, 64, 128, 256: 2 and below
    // stay, 3 gives 4, 129 and anything larger gives 256.
    static void RoundTextureSize(tarko::Long& w, tarko::Long& h);
};
