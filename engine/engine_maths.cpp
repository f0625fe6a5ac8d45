// The engine object's vector, matrix and scalar operations, over the maths kernel.
#include "engine/tarko_dx7.h"
#include "maths/GLOB.h"
#include "maths/kernel.h"
#include "platform/base/dx_math.h"
#include "runtime/services.h"

using tarko::Variant;
namespace maths = tarko::maths;

D3DVECTOR tarko_DX7::VAdd(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::add(A, B); }
D3DVECTOR tarko_DX7::Vsub(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::subtract(A, B); }
D3DVECTOR tarko_DX7::VSubtract(const D3DVECTOR& dV1, const D3DVECTOR& dV2) { return maths::subtract(dV1, dV2); }
void tarko_DX7::VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B) {
    Dest = maths::subtract(A, B);
}
D3DVECTOR tarko_DX7::VCross(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::cross(A, B); }
D3DVECTOR tarko_DX7::VCrossProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2) {
    D3DVECTOR ret;
    tarko::dxmath::vectorCrossProduct(ret, dV1, dV2);
    return ret;
}
float tarko_DX7::VectorDotProduct(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::dot(A, B); }
float tarko_DX7::VDot(const D3DVECTOR& A, const D3DVECTOR& B) { return maths::dot(A, B); }
float tarko_DX7::VDotProduct(const D3DVECTOR& dV1, const D3DVECTOR& dV2) {
    return tarko::dxmath::vectorDotProduct(dV1, dV2);
}
D3DVECTOR tarko_DX7::VScale(const D3DVECTOR& Src, float S) { return maths::scale(Src, S); }
void tarko_DX7::VectorScale(D3DVECTOR& Dest, const D3DVECTOR& Src, float S) { Dest = maths::scale(Src, S); }
D3DVECTOR tarko_DX7::VecTIME(const D3DVECTOR& Vin, const Variant& A) { return maths::scale(Vin, A.to_double()); }
void tarko_DX7::VectorAddAndScale(D3DVECTOR& Dest, float S1, const D3DVECTOR& V1, float s2, const D3DVECTOR& V2) {
    Dest = maths::add_scaled(S1, V1, s2, V2);
}
void tarko_DX7::VectorNegate(D3DVECTOR& v) { v = maths::negate(v); }
D3DVECTOR tarko_DX7::VNegate(const D3DVECTOR& v) { return maths::negate(v); }
D3DVECTOR tarko_DX7::VertorABS(const D3DVECTOR& Vin) { return maths::absolute(Vin); }
D3DVECTOR tarko_DX7::Vmiddle(const D3DVECTOR& Va, const D3DVECTOR& Vb) { return maths::midpoint(Va, Vb); }
float tarko_DX7::VectorNormal(const D3DVECTOR& Va, const D3DVECTOR& Vb) { return maths::distance(Va, Vb); }
void tarko_DX7::VectorCopy(D3DVECTOR& Dest, const D3DVECTOR& Src) { Dest = Src; }
D3DVECTOR tarko_DX7::VCopy(const D3DVECTOR& Src) { return Src; }
D3DVECTOR tarko_DX7::VERtoc(const D3DVERTEX& VERT) { return maths::position_of(VERT); }
D3DVECTOR tarko_DX7::LVERtoc(const D3DLVERTEX& VERT) { return maths::position_of(VERT); }
void tarko_DX7::VectorNormalize(D3DVECTOR& Dest) { maths::normalize_in_place(Dest); }
D3DVECTOR tarko_DX7::VNormalize(const D3DVECTOR& Dest) { return maths::normalized(Dest); }
D3DVECTOR tarko_DX7::VectorMISSING(const D3DVECTOR&, const Variant&) { return {}; }
D3DVECTOR tarko_DX7::VectorSETPOS(const D3DVECTOR&) { return {}; }
D3DVECTOR tarko_DX7::VectorAdd(D3DVECTOR& Dest, const D3DVECTOR& A) { return Dest = maths::add(Dest, A); }
D3DVECTOR tarko_DX7::VectorCrossProduct(D3DVECTOR& Dest, const D3DVECTOR& A) { return Dest = maths::cross(Dest, A); }

D3DVECTOR tarko_DX7::tarko_MakeVector(double A, double B, double C) {
    using tarko::runtime::CSng;
    return {CSng(A), CSng(B), CSng(C)};
}
D3DVECTOR tarko_DX7::Vector(const Variant& A, const Variant& B, const Variant& C) { return GLOB::Vector(A, B, C); }
D3DVERTEX tarko_DX7::Vertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv) {
    return {Vect.x, Vect.y, Vect.z, vNorm.x, vNorm.y, vNorm.z, tu, tv};
}
D3DVERTEX tarko_DX7::RVertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv) {
    return Vertex(Vect, vNorm, tu, tv);
}
D3DVERTEX tarko_DX7::vecVertex(const D3DVECTOR& v, const Variant& tu, const Variant& tv) {
    return {v.x, v.y, v.z, 0, 0, 0, tu.to_single(), tv.to_single()};
}
D3DLVERTEX tarko_DX7::vecLVertex(const D3DVECTOR& v, tarko::Long color, const Variant& tu, const Variant& tv) {
    return {v.x, v.y, v.z, 0, color, color, tu.to_single(), tv.to_single()};
}

void tarko_DX7::IdentityMatrix(D3DMATRIX& Dest) { Dest = maths::identity(); }
void tarko_DX7::MIdentity(D3DMATRIX& dMatrix) { dMatrix = maths::identity(); }
D3DMATRIX tarko_DX7::RetIdentityMatrix() { return maths::identity(); }
D3DMATRIX tarko_DX7::ID_Matrix() { return maths::identity(); }
void tarko_DX7::TranslateMatrix(D3DMATRIX& M, const D3DVECTOR& v) { M = maths::translation(v.x, v.y, v.z); }
D3DMATRIX tarko_DX7::RetTranslateMatrix(const D3DVECTOR& v) { return maths::translation(v.x, v.y, v.z); }
void tarko_DX7::RotateXMatrix(D3DMATRIX& RET, float rads) { RET = maths::rotation_x(rads); }
void tarko_DX7::RotateYMatrix(D3DMATRIX& RET, float rads) { RET = maths::rotation_y(rads); }
void tarko_DX7::RotateZMatrix(D3DMATRIX& RET, float rads) { RET = maths::rotation_z(rads); }
D3DMATRIX tarko_DX7::RetRotateXMatrix(float rads) { return maths::rotation_x(rads); }
D3DMATRIX tarko_DX7::RetRotateYMatrix(float rads) { return maths::rotation_y(rads); }
D3DMATRIX tarko_DX7::RetRotateZMatrix(float rads) { return maths::rotation_z(rads); }

D3DMATRIX tarko_DX7::MTranslate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::translate(dSource, nValueX, nValueY, nValueZ, MathScratch);
}
D3DMATRIX tarko_DX7::MTrans_EX(const D3DMATRIX& dSource, const D3DVECTOR& VEC) {
    return maths::translate(dSource, VEC.x, VEC.y, VEC.z, MathScratch);
}
D3DMATRIX tarko_DX7::MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::scale(dSource, nValueX, nValueY, nValueZ, MathScratch);
}
D3DMATRIX tarko_DX7::MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    return maths::rotate_degrees(dSource, nValueX, nValueY, nValueZ, PIFactor, MathScratch);
}
D3DMATRIX tarko_DX7::MMultiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2) { return maths::multiply(dM2, dM1); }
D3DMATRIX tarko_DX7::M_Scale_Rotate_MOV(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov) {
    const D3DMATRIX s = MScale(maths::identity(), Vscal.x, Vscal.y, Vscal.z);
    const D3DMATRIX r = MRotate(maths::identity(), Vrot.x, Vrot.y, Vrot.z);
    const D3DMATRIX t = MTranslate(maths::identity(), Vmov.x, Vmov.y, Vmov.z);
    return maths::multiply(maths::multiply(s, r), t);
}

Variant tarko_DX7::Rand() {
    tarko::runtime::Randomize();
    return Variant(tarko::runtime::Rnd());
}

tarko::Long tarko_DX7::RGBA(const Variant& R, const Variant& G, const Variant& B, const Variant& A) {
    return tarko::dxmath::createColorRGBA(R.to_single(), G.to_single(), B.to_single(), A.to_single());
}

tarko::Long tarko_DX7::random_RGBA() {
    tarko::runtime::Randomize();
    // Drawn in this order: r, g, b, a.
    const float r = tarko::runtime::Rnd();
    const float g = tarko::runtime::Rnd();
    const float b = tarko::runtime::Rnd();
    const float a = tarko::runtime::Rnd();
    return tarko::dxmath::createColorRGBA(r, g, b, a);
}

double tarko_DX7::RADIAN() { return maths::kCameraRadian; }
