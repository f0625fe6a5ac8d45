// cMATH: the public maths class a host creates without any device: vectors,
// matrices, degree conversions and the inverse, reciprocal and hyperbolic
// functions. Components are Singles, worked out in double and rounded once.
//
// Conventions: row vectors, translation in row 4, A x B applies A first.
// Degrees are turned into radians with this class's own factor,
// 3.14598745148 / 180 held as a Single (0.017477708): not pi / 180, and not the
// factor of the engine object. Matrix_Create uses 3.14564875441112 / 180 and
// turns the other way round from Matrix_Rotate for a single angle.
//
// The object keeps one scratch matrix (Matrix_Rotate, Matrix_Translate,
// MTrans_EX, Matrix_Scale): calls on one object must not overlap.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

class cMATH {
public:
    cMATH();

    // ---- vectors (arguments are read, not changed, unless named Dest)
    D3DVECTOR VAdd(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR Vector_Add(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR Vsub(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR SubtractVector(const D3DVECTOR& A, const D3DVECTOR& B);
    void VectorSubtract(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B);
    // Dest = A x B = (Ay Bz - Az By, Az Bx - Ax Bz, Ax By - Ay Bx).
    void VectorCrossProduct(D3DVECTOR& Dest, const D3DVECTOR& A, const D3DVECTOR& B);
    float VectorDotProduct(const D3DVECTOR& A, const D3DVECTOR& B);
    D3DVECTOR VScale(const D3DVECTOR& Src, float S);
    D3DVECTOR Vmiddle(const D3DVECTOR& Va, const D3DVECTOR& Vb);
    float VDist(const D3DVECTOR& Va, const D3DVECTOR& Vb);
    D3DVECTOR VERTEXtoVEC(const D3DVERTEX& VERT);
    D3DVECTOR LVERTEXtoVEC(const D3DLVERTEX& VERT);
    // In place; (0, 0, 0) stays (0, 0, 0). Never raises.
    void VectorNormalize(D3DVECTOR& Dest);
    // Unit normal of (p1 - p0) x (p2 - p0); (0, 0, 0) for a degenerate triangle.
    D3DVECTOR CalculateNormal(const D3DVECTOR& p0, const D3DVECTOR& p1, const D3DVECTOR& p2);
    // Radians: xA turns the XY plane, then yA the XZ plane, then zA the YZ plane.
    D3DVECTOR Vrotate(const D3DVECTOR& v, double xA, double yA, double zA);
    // Each Variant coerced to Single; no number raises Type mismatch (13).
    D3DVECTOR Vector(const tarko::Variant& X, const tarko::Variant& Y, const tarko::Variant& z);
    D3DVERTEX Vertex(const D3DVECTOR& Vect, const D3DVECTOR& vNorm, float tu, float tv);

    // ---- matrices (the source matrix is read, not changed)
    void IdentityMatrix(D3DMATRIX& Dest);
    void Matrix_dentity(D3DMATRIX& dMatrix);
    D3DMATRIX RetIdentityMatrix();
    D3DMATRIX Matrix_Translate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    D3DMATRIX MTrans_EX(const D3DMATRIX& dSource, const D3DVECTOR& VEC);
    D3DMATRIX Matrix_Scale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    // dSource x Rx x Ry x Rz in degrees; a zero angle skips its factor.
    D3DMATRIX Matrix_Rotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    // dM2 x dM1: applied to a point, dM2 first.
    D3DMATRIX Matrix_Multiply(const D3DMATRIX& dM1, const D3DMATRIX& dM2);
    // (scale x rotation) x translation, rotation in degrees.
    D3DMATRIX Matrix_Scale_Rotate_MOV(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov);
    D3DMATRIX Matrix_Create(const D3DVECTOR& RotVec, const D3DVECTOR& ScalVec, const D3DVECTOR& TransVec);

    double DegToRad(double val);
    double RadToDeg(double val);

    // vDest = (x, y, z, 1) x Mat divided by W: the Integer 1; or the Integer 0,
    // vDest untouched, when abs(W) < 1e-10.
    tarko::Variant VectorMatrixMultiply(D3DVECTOR& vDest, const D3DVECTOR& vSrc, const D3DMATRIX& Mat);
    // retVert = VERT with positions transformed (a position whose W is too
    // small stays); normals and texture coordinates are copied as they are.
    // VERT never dimensioned raises Subscript out of range (9), nothing changed.
    tarko::Variant VerTEX_MatMULTILPY(const tarko::SafeArray<D3DVERTEX>& VERT, const D3DMATRIX& MATA,
                                      tarko::SafeArray<D3DVERTEX>& retVert);
    // Seeds (99999999, 999999999, 999999999) and their negatives; an empty array
    // gives the seeds. Never dimensioned raises 9, RETBOX unchanged.
    void OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX);

    // ---- scalar functions: X coerced to Double, a Double returned. Radians.
    tarko::Variant Arcsin(const tarko::Variant& X);
    tarko::Variant Arccos(const tarko::Variant& X);
    tarko::Variant Arcsec(const tarko::Variant& X);
    tarko::Variant Arccosec(const tarko::Variant& X);
    tarko::Variant Arccotan(const tarko::Variant& X);
    tarko::Variant HSin(const tarko::Variant& X);
    tarko::Variant HCos(const tarko::Variant& X);
    tarko::Variant HTan(const tarko::Variant& X);
    tarko::Variant HSec(const tarko::Variant& X);
    tarko::Variant HCosec(const tarko::Variant& X);
    tarko::Variant HCotan(const tarko::Variant& X);
    tarko::Variant HArcsin(const tarko::Variant& X);
    tarko::Variant HArccos(const tarko::Variant& X);
    tarko::Variant HArctan(const tarko::Variant& X);
    tarko::Variant HArcsec(const tarko::Variant& X);
    tarko::Variant HArccosec(const tarko::Variant& X);
    tarko::Variant HArccotan(const tarko::Variant& X);
    // Base 10, despite the name.
    tarko::Variant LogN(const tarko::Variant& X);
    tarko::Variant Secante(const tarko::Variant& X);
    tarko::Variant Cosecante(const tarko::Variant& X);
    tarko::Variant Cotangente(const tarko::Variant& X);

private:
    float DegreeFactor;   // 3.14598745148 / 180, set when the object is created
    D3DMATRIX Scratch;
};
