// Collision operations of the engine object. They read host arrays as they
// stand (no world matrix) and share the tests of tarko::collision where the
// conventions agree: RayCollision here takes Dir as given, where cCOLLISION
// normalises it first, and the edge tests are held in doubles, where
// cCOLLISION rounds the distances to Singles.
#include "collision/geometry_tests.h"
#include "engine/tarko_dx7.h"
#include "runtime/numeric.h"

#include <cmath>

using tarko::Long;
namespace collision = tarko::collision;

namespace {

D3DVECTOR position(const D3DVERTEX& v) { return {v.x, v.y, v.z}; }
D3DVECTOR position(const D3DLVERTEX& v) { return {v.x, v.y, v.z}; }

// Pairs (i, i + 1), i from the lower to the upper bound minus 1 in steps of 2.
template <class Vertex>
bool pairs_near_point(const tarko::SafeArray<Vertex>& vertices, const D3DVECTOR& point) {
    const long long lo = vertices.LBound(), hi = vertices.UBound();
    for (long long i = lo; i <= hi - 1; i += 2)
        if (collision::edge_near_point_exact(position(vertices(static_cast<Long>(i))),
                                             position(vertices(static_cast<Long>(i + 1))), point))
            return true;
    return false;
}

constexpr float kSphereRadius = 15;   // both radii are set to this

}  // namespace

bool tarko_DX7::ISnot_Colision(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& origine,
                               const D3DVECTOR& Direction) {
    const long long lo = OBJvert.LBound(), hi = OBJvert.UBound();
    for (long long i = lo; i <= hi; i += 3) {
        double t = 0, u = 0, v = 0;
        const D3DVECTOR p0 = position(OBJvert(static_cast<Long>(i)));
        const D3DVECTOR p1 = position(OBJvert(static_cast<Long>(i + 1)));
        const D3DVECTOR p2 = position(OBJvert(static_cast<Long>(i + 2)));
        if (RayCollision(origine, Direction, p0, p1, p2, t, u, v) == 0) return true;
    }
    return false;
}

bool tarko_DX7::COLISON_on(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& origine) {
    namespace rt = tarko::runtime;
    const long long lo = OBJvert.LBound(), hi = OBJvert.UBound();
    for (long long i = lo; i <= hi; i += 4) {
        const D3DVERTEX& p = OBJvert(static_cast<Long>(i));
        const D3DVERTEX& q = OBJvert(static_cast<Long>(i + 1));
        const double run = static_cast<double>(q.x) - p.x;
        LineSlopeY = rt::CSng(rt::Div(static_cast<double>(q.y) - p.y, run));
        LineOffsetY = rt::CSng(p.y - static_cast<double>(p.x) * LineSlopeY);
        LineSlopeZ = rt::CSng(rt::Div(static_cast<double>(q.z) - p.z, run));
        LineOffsetZ = rt::CSng(p.z - static_cast<double>(p.x) * LineSlopeZ);
        const auto y = static_cast<float>(static_cast<double>(LineSlopeY) * origine.x + LineOffsetY);
        const auto z = static_cast<float>(static_cast<double>(LineSlopeZ) * origine.x + LineOffsetZ);
        if (y == origine.y || z == origine.z) return true;
    }
    return false;
}

bool tarko_DX7::Colision_VERTEX(const tarko::SafeArray<D3DVERTEX>& OBJvert, const D3DVECTOR& POSme) {
    return pairs_near_point(OBJvert, POSme);
}

bool tarko_DX7::Colision_LVERTEX(const tarko::SafeArray<D3DLVERTEX>& OBJvert, const D3DVECTOR& POSme) {
    return pairs_near_point(OBJvert, POSme);
}

tarko::Byte tarko_DX7::RayCollision(const D3DVECTOR& orig, const D3DVECTOR& Dir, const D3DVECTOR& vert0,
                                    const D3DVECTOR& Vert1, const D3DVECTOR& Vert2, double& T, double& U, double& v) {
    return collision::ray_triangle(orig, Dir, vert0, Vert1, Vert2, T, U, v) ? 1 : 0;
}

double tarko_DX7::getdist3d(const D3DVECTOR& sphere2, const D3DVECTOR& sphere1) {
    const double dx = static_cast<double>(sphere2.x) - sphere1.x, dy = static_cast<double>(sphere2.y) - sphere1.y,
                 dz = static_cast<double>(sphere2.z) - sphere1.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

bool tarko_DX7::CheckSphereCollision(const D3DVECTOR& object1, const D3DVECTOR& object2, float& Sphere1Radius,
                                     float& Sphere2Radius) {
    Sphere1Radius = kSphereRadius;
    Sphere2Radius = kSphereRadius;
    const auto d = static_cast<float>(getdist3d(object1, object2));
    return d <= static_cast<float>(static_cast<double>(Sphere1Radius) + Sphere2Radius);
}
