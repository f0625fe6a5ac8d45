// cMATH: each operation hands off to the kernel or to GLOB.
#include "maths/cMATH.h"

#include "maths/GLOB.h"
#include "maths/kernel.h"
#include "maths/scalar.h"

using tarko::Variant;
namespace maths = tarko::maths;

cMATH::cMATH() : DegreeFactor(maths::kMathDegreeFactor) {}

D3DVECTOR cMATH::VAdd(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::add(A, B); }
D3DVECTOR cMATH::Vector_Add(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::add(A, B); }
D3DVECTOR cMATH::Vsub(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::subtract(A, B); }
D3DVECTOR cMATH::SubtractVector(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::subtract(A, B); }
void cMATH::VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B) { Dest = maths::subtract(A, B); }
void cMATH::VectorCrossProduct(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B) { Dest = maths::cross(A, B); }
float cMATH::VectorDotProduct(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::dot(A, B); }
D3DVECTOR cMATH::VScale(const D3DVECTOR& Src, float S) { return maths::scale(Src, S); }
D3DVECTOR cMATH::Vmiddle(const D3DVECTOR& Va, const D3DVECTOR& Vb) { return maths::midpoint(Va, Vb); }
float cMATH::VDist(const D3DVECTOR& Va, const D3DVECTOR& Vb) { return maths::distance(Va, Vb); }
D3DVECTOR cMATH::VERTEXtoVEC(const D3DVERTEX& VERT) { return maths::position_of(VERT); }
D3DVECTOR cMATH::LVERTEXtoVEC(const D3DLVERTEX& VERT) { return maths::position_of(VERT); }
void cMATH::VectorNormalize(D3DVECTOR& Dest) { maths::normalize_in_place(Dest); }

D3DVECTOR cMATH::CalculateNormal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2) {
    return maths::triangle_normal(p0, p1, p2);
}

D3DVECTOR cMATH::Vrotate(const D3DVECTOR& v, double xA, double yA, double zA) {
    return maths::rotate_planes(v, xA, yA, zA);
}

D3DVECTOR cMATH::Vector(const Variant& X, const Variant& Y, const Variant& z) { return GLOB::Vector(X, Y, z); }

D3DVERTEX cMATH::Vertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv) {
    return {Vect.x, Vect.y, Vect.z, vNorm.x, vNorm.y, vNorm.z, tu, tv};
}

void cMATH::IdentityMatrix(D3DMATRIX& Dest) { Dest = maths::identity(); }
void cMATH::Matrix_dentity(D3DMATRIX& dMatrix) { dMatrix = maths::identity(); }
D3DMATRIX cMATH::RetIdentityMatrix() { return maths::identity(); }

D3DMATRIX cMATH::Matrix_Translate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::translate(dSource, nValueX, nValueY, nValueZ, Scratch);
}

D3DMATRIX cMATH::MTrans_EX(const D3DMATRIX& dSource, const D3DVECTOR& VEC) {
    return maths::translate(dSource, VEC.x, VEC.y, VEC.z, Scratch);
}

D3DMATRIX cMATH::Matrix_Scale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::scale(dSource, nValueX, nValueY, nValueZ, Scratch);
}

D3DMATRIX cMATH::Matrix_Rotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::rotate_degrees(dSource, nValueX, nValueY, nValueZ, DegreeFactor, Scratch);
}

D3DMATRIX cMATH::Matrix_Multiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2) { return maths::multiply(dM2, dM1); }

D3DMATRIX cMATH::Matrix_Scale_Rotate_MOV(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov) {
    // Built through GLOB's helpers, with this class's degree factor.
    const D3DMATRIX s = GLOB::MScale(maths::identity(), Vscal.x, Vscal.y, Vscal.z);
    const D3DMATRIX r = GLOB::MRotate(maths::identity(), Vrot.x, Vrot.y, Vrot.z, DegreeFactor);
    const D3DMATRIX t = GLOB::MTranslate(maths::identity(), Vmov.x, Vmov.y, Vmov.z);
    return maths::multiply(maths::multiply(s, r), t);
}

D3DMATRIX cMATH::Matrix_Create(const D3DVECTOR& RotVec, const D3DVECTOR& ScalVec, const D3DVECTOR& TransVec) {
    return maths::matrix_create(RotVec, ScalVec, TransVec);
}

double cMATH::DegToRad(double val) { return val * DegreeFactor; }
double cMATH::RadToDeg(double val) { return val / DegreeFactor; }

Variant cMATH::VectorMatrixMultiply(D3DVECTOR& vDest, const D3DVECTOR& vSrc, const D3DMATRIX& Mat) {
    return Variant(static_cast<tarko::Integer>(maths::transform_point(vDest, vSrc, Mat, 1e-10) ? 1 : 0));
}

Variant cMATH::VerTEX_MatMULTILPY(const tarko::SafeArray<D3DVERTEX>& VERT, const D3DMATRIX& MATA,
                                  tarko::SafeArray<D3DVERTEX>& retVert) {
    tarko::SafeArray<D3DVERTEX> out = VERT;  // VERT and retVert may be one array
    const tarko::Long lo = VERT.LBound(), hi = VERT.UBound();
    for (tarko::Long i = lo; i <= hi; ++i) {
        D3DVERTEX& v = out(i);
        D3DVECTOR p = maths::position_of(v);
        if (maths::transform_point(p, p, MATA, 1e-10)) {
            v.x = p.x;
            v.y = p.y;
            v.z = p.z;
        }
    }
    retVert = std::move(out);
    return {};
}

void cMATH::OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX) {
    RETBOX = maths::bounds_from_seeds(lpVert);
}

#define TARKO_CMATH_SCALAR(Name, fn) \
    Variant cMATH::Name(const Variant& X) { return Variant(maths::fn(X.to_double())); }

TARKO_CMATH_SCALAR(Arcsin, arcsin)
TARKO_CMATH_SCALAR(Arccos, arccos)
TARKO_CMATH_SCALAR(Arcsec, arcsec)
TARKO_CMATH_SCALAR(Arccosec, arccosec)
TARKO_CMATH_SCALAR(Arccotan, arccotan)
TARKO_CMATH_SCALAR(HSin, hsin)
TARKO_CMATH_SCALAR(HCos, hcos)
TARKO_CMATH_SCALAR(HTan, htan)
TARKO_CMATH_SCALAR(HSec, hsec)
TARKO_CMATH_SCALAR(HCosec, hcosec)
TARKO_CMATH_SCALAR(HCotan, hcotan)
TARKO_CMATH_SCALAR(HArcsin, harcsin)
TARKO_CMATH_SCALAR(HArccos, harccos)
TARKO_CMATH_SCALAR(HArctan, harctan)
TARKO_CMATH_SCALAR(HArcsec, harcsec)
TARKO_CMATH_SCALAR(HArccosec, harccosec)
TARKO_CMATH_SCALAR(HArccotan, harccotan)
TARKO_CMATH_SCALAR(LogN, log10_of)
TARKO_CMATH_SCALAR(Secante, secant)
TARKO_CMATH_SCALAR(Cosecante, cosecant)
TARKO_CMATH_SCALAR(Cotangente, cotangent)

#undef TARKO_CMATH_SCALAR
