// cCOLLISION: each test hands off to tarko::collision.
#include "collision/cCOLLISION.h"

#include "collision/geometry_tests.h"
#include "maths/kernel.h"
#include "platform/base/dx_math.h"

using tarko::Variant;
namespace maths = tarko::maths;
namespace collision = tarko::collision;

namespace {
// The twin of VectorMatrixMultiply with its own tolerance.
constexpr double kTransformTolerance = 1e-05;

struct Triangle {
    D3DVECTOR p1, p2, p3;
};

Triangle positions(const D3DVERTEX& a, const D3DVERTEX& b, const D3DVERTEX& c, const D3DMATRIX& m, bool transform) {
    Triangle t{maths::position_of(a), maths::position_of(b), maths::position_of(c)};
    if (transform) {
        // A vertex whose W is too small keeps its position.
        maths::transform_point(t.p1, t.p1, m, kTransformTolerance);
        maths::transform_point(t.p2, t.p2, m, kTransformTolerance);
        maths::transform_point(t.p3, t.p3, m, kTransformTolerance);
    }
    return t;
}
}  // namespace

bool cCOLLISION::GetLinePoly_Intersection(const D3DVECTOR& PStart, const D3DVECTOR& PEnd, const D3DVECTOR& Vert1,
                                          const D3DVECTOR& Vert2, const D3DVECTOR& Vert3, D3DVECTOR& RetPos) {
    return collision::segment_triangle(PStart, PEnd, Vert1, Vert2, Vert3, RetPos);
}

Variant cCOLLISION::GetPoint_FacetCollision(const D3DVECTOR& PStart, const D3DVECTOR& Vdir, const D3DVECTOR& Vert1,
                                            const D3DVECTOR& Vert2, const D3DVECTOR& Vert3, const Variant& MaxDistCol) {
    const double reach = MaxDistCol.is_missing() ? 5.0 : MaxDistCol.to_double();
    const D3DVECTOR end = maths::add_scaled(1.0, PStart, reach, Vdir);
    D3DVECTOR dropped;
    return Variant(collision::segment_triangle(PStart, end, Vert1, Vert2, Vert3, dropped));
}

Variant cCOLLISION::GetFacet_MiddleVec(const D3DVECTOR& Vert1, const D3DVECTOR& Vert2, const D3DVECTOR& Vert3,
                                       D3DVECTOR& RetVec) {
    RetVec = maths::make_vector((double(Vert1.x) + Vert2.x + Vert3.x) / 3, (double(Vert1.y) + Vert2.y + Vert3.y) / 3,
                                (double(Vert1.z) + Vert2.z + Vert3.z) / 3);
    return {};
}

bool cCOLLISION::GetPointTRI_Colision(const D3DVERTEX& Vert1, const D3DVERTEX& Vert2, const D3DVERTEX& Vert3,
                                      const D3DVECTOR& vPoint, const D3DMATRIX& vertMatrix, bool Use_Transformation) {
    const Triangle t = positions(Vert1, Vert2, Vert3, vertMatrix, Use_Transformation);
    D3DVECTOR dir = maths::subtract(t.p1, vPoint);
    maths::normalize_in_place(dir);
    double T = 0, U = 0, v = 0;
    return RayCollision(vPoint, dir, t.p1, t.p2, t.p3, T, U, v) == 1;
}

bool cCOLLISION::GetPointTRI_Colision2(const D3DVERTEX& Vert1, const D3DVERTEX& Vert2, const D3DVERTEX& Vert3,
                                       const D3DVECTOR& vPoint, const D3DMATRIX& vertMatrix, bool Use_Transformation) {
    const Triangle t = positions(Vert1, Vert2, Vert3, vertMatrix, Use_Transformation);
    D3DVECTOR n = maths::cross(maths::subtract(t.p1, t.p2), maths::subtract(t.p1, t.p3));
    tarko::dxmath::vectorNormalize(n);
    const double d = double(n.x) * t.p1.x + double(n.y) * t.p1.y + double(n.z) * t.p1.z;
    const float off = static_cast<float>(double(n.x) * vPoint.x + double(n.y) * vPoint.y + double(n.z) * vPoint.z - d);
    return off == 0.0f;
}

bool cCOLLISION::Get_BoxCollision(const D3DRMBOX& Box1, const D3DRMBOX& Box2) {
    return collision::box_corner_in_box(Box1, Box2);
}

bool cCOLLISION::Triangle_TriCOLLISION(const D3DVECTOR&, const D3DVECTOR&, const D3DVECTOR&, const D3DVECTOR&,
                                       const D3DVECTOR&, const D3DVECTOR&, float&, float&, float&) {
    return false;
}

bool cCOLLISION::Get_PointBOXCollision(const D3DRMBOX& OBJbox, const D3DVECTOR& Tpoint) {
    return collision::point_in_box(OBJbox, Tpoint);
}

bool cCOLLISION::Get_PolyCollision(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& Tpoint) {
    return collision::polyline_near_point(OBJvert, Tpoint);
}

bool cCOLLISION::Get_PointSphereCollision(const D3DVECTOR& vPoint, const D3DVECTOR& vPhere_center, float sPhere_RAY) {
    return collision::point_in_sphere(vPoint, vPhere_center, sPhere_RAY);
}

bool cCOLLISION::Get_ColisionEX(const D3DRMBOX&, const tarko::SafeArray<D3DVERTEX>& OBJvertices, const D3DVECTOR& vPOS,
                                const D3DVECTOR& OBJ_vPOS, const D3DVECTOR& OBJ_vScal, const D3DVECTOR&) {
    return collision::triangle_edges_near_point(OBJvertices, vPOS, OBJ_vPOS, OBJ_vScal);
}

tarko::Byte cCOLLISION::RayCollision(const D3DVECTOR& orig, D3DVECTOR& Dir, const D3DVECTOR& vert0,
                                     const D3DVECTOR& Vert1, const D3DVECTOR& Vert2, double& T, double& U, double& v) {
    tarko::dxmath::vectorNormalize(Dir);
    return collision::ray_triangle(orig, Dir, vert0, Vert1, Vert2, T, U, v) ? 1 : 0;
}

Variant cCOLLISION::Create_BOX(const D3DVECTOR& Vec_MIN, const D3DVECTOR& Vec_MAX, D3DRMBOX& RETBOX) {
    RETBOX = {Vec_MIN, Vec_MAX};
    return {};
}

void cCOLLISION::OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX) {
    RETBOX = maths::bounds_from_first(lpVert);
}

D3DMATRIX cCOLLISION::MRotate(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    D3DMATRIX scratch;  // locals only
    return maths::rotate_degrees(dSource, nValueX, nValueY, nValueZ, maths::kEngineDegreeFactor, scratch);
}

D3DMATRIX cCOLLISION::MScale(const D3DMATRIX& dSource, float nValueX, float nValueY, float nValueZ) {
    D3DMATRIX scratch;
    return maths::scale(dSource, nValueX, nValueY, nValueZ, scratch);
}
