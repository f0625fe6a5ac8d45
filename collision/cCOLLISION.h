// cCOLLISION: stateless geometric tests a host creates without any device:
// segment and ray against triangle, point against triangle, box and sphere, a
// point against the edges of a vertex array, the bounding box of an array.
// Boxes are (minimum corner, maximum corner). Vertex arrays are read from the
// lower to the upper bound. Only GetPointTRI_Colision(2) (by vertMatrix) and
// Get_ColisionEX (scale then offset) transform their input; every other test
// takes its arguments to lie in one space.
#pragma once

#include "platform/records.h"
#include "runtime/numeric.h"
#include "runtime/safe_array.h"
#include "runtime/variant.h"

class cCOLLISION {
public:
    // Segment against triangle by the sum of angles. RetPos gets the point on
    // the plane, also when the result is False (segment too short or the point
    // outside); a segment parallel to the plane leaves RetPos as it was. A point
    // exactly on an edge is outside.
    bool GetLinePoly_Intersection(const D3DVECTOR& PStart, const D3DVECTOR& PEnd, const D3DVECTOR& Vert1,
                                  const D3DVECTOR& Vert2, const D3DVECTOR& Vert3, D3DVECTOR& RetPos);
    // The segment from PStart to PStart + Vdir * MaxDistCol (default 5); a
    // Variant holding a Boolean.
    tarko::Variant GetPoint_FacetCollision(const D3DVECTOR& PStart, const D3DVECTOR& Vdir, const D3DVECTOR& Vert1,
                                           const D3DVECTOR& Vert2, const D3DVECTOR& Vert3,
                                           const tarko::Variant& MaxDistCol = tarko::Variant(tarko::Integer(5)));
    // RetVec = the mean of the three points; the result stays empty.
    tarko::Variant GetFacet_MiddleVec(const D3DVECTOR& Vert1, const D3DVECTOR& Vert2, const D3DVECTOR& Vert3,
                                      D3DVECTOR& RetVec);
    // Ray from vPoint towards the first vertex against the triangle (after
    // vertMatrix when Use_Transformation). The vertices are not changed.
    bool GetPointTRI_Colision(const D3DVERTEX& Vert1, const D3DVERTEX& Vert2, const D3DVERTEX& Vert3,
                              const D3DVECTOR& vPoint, const D3DMATRIX& vertMatrix, bool Use_Transformation = true);
    // True when vPoint lies exactly (to the Single) on the triangle's plane;
    // nothing tests that it lies inside the triangle.
    bool GetPointTRI_Colision2(const D3DVERTEX& Vert1, const D3DVERTEX& Vert2, const D3DVERTEX& Vert3,
                               const D3DVECTOR& vPoint, const D3DMATRIX& vertMatrix, bool Use_Transformation = true);
    // True when a corner of Box2 lies strictly inside Box1. One-sided: Box2
    // around Box1, or boxes crossing without a corner inside, give False.
    bool Get_BoxCollision(const D3DRMBOX& Box1, const D3DRMBOX& Box2);
    // Always False; T, U and v are left as they are.
    bool Triangle_TriCOLLISION(const D3DVECTOR& T1vec1, const D3DVECTOR& T1vec2, const D3DVECTOR& T1vec3,
                               const D3DVECTOR& T2vec1, const D3DVECTOR& T2vec2, const D3DVECTOR& T2vec3, float& T,
                               float& U, float& v);
    // Strict inclusion on x, y and z: a point on a face or corner is outside.
    bool Get_PointBOXCollision(const D3DRMBOX& OBJbox, const D3DVECTOR& Tpoint);
    // Vertex pairs (i, i + 1) as segments in the XZ plane: True when Tpoint is
    // within 3 units of one. Never dimensioned raises Subscript out of range (9).
    bool Get_PolyCollision(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& Tpoint);
    // True when the point is inside or exactly on the sphere.
    bool Get_PointSphereCollision(const D3DVECTOR& vPoint, const D3DVECTOR& vPhere_center, float sPhere_RAY);
    // vPOS against the edges (i, i + 2) of a triangle list scaled by OBJ_vScal
    // and moved by OBJ_vPOS, in the XZ plane, within 3 units. initialOBJ_BOX and
    // OBJ_vRot are accepted and have no effect. Fewer than four vertices give
    // False; never dimensioned raises 9.
    bool Get_ColisionEX(const D3DRMBOX& initialOBJ_BOX, const tarko::SafeArray<D3DVERTEX>& OBJvertices,
                        const D3DVECTOR& vPOS, const D3DVECTOR& OBJ_vPOS, const D3DVECTOR& OBJ_vScal,
                        const D3DVECTOR& OBJ_vRot);
    // Two-sided ray against triangle: 1 hit, 0 no hit. Dir is normalised in
    // place first (the caller's vector changes; (0, 0, 0) stays and misses).
    // U and v may be written by a miss; T only by a hit, negative for a
    // triangle behind orig.
    tarko::Byte RayCollision(const D3DVECTOR& orig, D3DVECTOR& Dir, const D3DVECTOR& vert0, const D3DVECTOR& Vert1,
                             const D3DVECTOR& Vert2, double& T, double& U, double& v);
    // RETBOX = (Vec_MIN, Vec_MAX) as given, coordinates not sorted.
    tarko::Variant Create_BOX(const D3DVECTOR& Vec_MIN, const D3DVECTOR& Vec_MAX, D3DRMBOX& RETBOX);
    // Box seeded from the first vertex. An empty or never dimensioned array
    // raises Subscript out of range (9) and leaves RETBOX alone.
    void OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX);
    // dSource x Rx x Ry x Rz in degrees, factor 3.141592653 / 180 as a Single.
    D3DMATRIX MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
    D3DMATRIX MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ);
};
