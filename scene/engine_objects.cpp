// World transforms of the object about to be drawn, built from the identity
// each time, and the bounding box of a vertex array.
#include <algorithm>

#include "engine/tarko_dx7.h"
#include "maths/kernel.h"
#include "platform/constants.h"

using tarko::Variant;
namespace maths = tarko::maths;

void tarko_DX7::world_transform(const D3DMATRIX& m) { D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_WORLD, m); }

void tarko_DX7::CLearMATRIX() { world_transform(ID_Matrix()); }
void tarko_DX7::TransFORM(const D3DMATRIX& MATRIXX) { world_transform(MATRIXX); }

Variant tarko_DX7::OBJECT_scale(const Variant& Xscal, const Variant& Yscal, const Variant& Zscal) {
    world_transform(MScale(ID_Matrix(), Xscal.to_single(), Yscal.to_single(), Zscal.to_single()));
    return {};
}

Variant tarko_DX7::OBJECT_move(const Variant& Xmov, const Variant& Ymov, const Variant& Zmov) {
    world_transform(MTranslate(ID_Matrix(), Xmov.to_single(), Ymov.to_single(), Zmov.to_single()));
    return {};
}

Variant tarko_DX7::OBJECT_rotate(const Variant& Xmov, const Variant& Ymov, const Variant& Zmov) {
    world_transform(MRotate(ID_Matrix(), Xmov.to_single(), Ymov.to_single(), Zmov.to_single()));
    return {};
}

void tarko_DX7::OBJECT_use_BILBOARDdeg() {
    OBJECT_rotate(Variant(0.0), Variant(CAM_angleDEGRE().to_double() - 90), Variant(0.0));
}

void tarko_DX7::OBJECT_Scale_MOV(const Variant& Xscal, const Variant& Yscal, const Variant& Zscal,
                                 const Variant& Xmov, const Variant& Ymov, const Variant& Zmov) {
    const D3DMATRIX s = MScale(ID_Matrix(), Xscal.to_single(), Yscal.to_single(), Zscal.to_single());
    const D3DMATRIX t = MTranslate(ID_Matrix(), Xmov.to_single(), Ymov.to_single(), Zmov.to_single());
    world_transform(maths::multiply(s, t));
}

void tarko_DX7::OBJECT_Scale_Rotate(const Variant& Xscal, const Variant& Yscal, const Variant& Zscal,
                                    const Variant& Xrot, const Variant& Yrot, const Variant& Zrot) {
    const D3DMATRIX s = MScale(ID_Matrix(), Xscal.to_single(), Yscal.to_single(), Zscal.to_single());
    const D3DMATRIX r = MRotate(ID_Matrix(), Xrot.to_single(), Yrot.to_single(), Zrot.to_single());
    world_transform(maths::multiply(s, r));
}

void tarko_DX7::OBJECT_Scale_Rotate_MOV(const Variant& Xscal, const Variant& Yscal, const Variant& Zscal,
                                        const Variant& Xrot, const Variant& Yrot, const Variant& Zrot,
                                        const Variant& Xmov, const Variant& Ymov, const Variant& Zmov) {
    const D3DMATRIX s = MScale(ID_Matrix(), Xscal.to_single(), Yscal.to_single(), Zscal.to_single());
    const D3DMATRIX r = MRotate(ID_Matrix(), Xrot.to_single(), Yrot.to_single(), Zrot.to_single());
    const D3DMATRIX t = MTranslate(ID_Matrix(), Xmov.to_single(), Ymov.to_single(), Zmov.to_single());
    world_transform(maths::multiply(maths::multiply(s, r), t));
}

void tarko_DX7::OBJECT_MOV_rotate(const Variant& Xmov, const Variant& Ymov, const Variant& Zmov,
                                  const Variant& Xrot, const Variant& Yrot, const Variant& Zrot) {
    const D3DMATRIX t = MTranslate(ID_Matrix(), Xmov.to_single(), Ymov.to_single(), Zmov.to_single());
    const D3DMATRIX r = MRotate(ID_Matrix(), Xrot.to_single(), Yrot.to_single(), Zrot.to_single());
    world_transform(maths::multiply(t, r));
}

void tarko_DX7::OBJECT_Scale_Rotate_MovEX(const D3DVECTOR& Vscal, const D3DVECTOR& Vrot, const D3DVECTOR& Vmov) {
    const D3DMATRIX s = MScale(ID_Matrix(), Vscal.x, Vscal.y, Vscal.z);
    const D3DMATRIX r = MRotate(ID_Matrix(), Vrot.x, Vrot.y, Vrot.z);
    const D3DMATRIX t = MTranslate(ID_Matrix(), Vmov.x, Vmov.y, Vmov.z);
    world_transform(maths::multiply(maths::multiply(s, r), t));
}

void tarko_DX7::OBJECT_getBoundingBOX(const tarko::SafeArray<D3DVERTEX>& lpVert, D3DRMBOX& RETBOX) {
    const tarko::Long lo = lpVert.LBound(), hi = lpVert.UBound();
    const D3DVERTEX& first = lpVert(lo);
    D3DVECTOR mn{first.x, first.y, first.z}, mx = mn;
    for (tarko::Long i = lo + 1; i <= hi; ++i) {
        const D3DVERTEX& v = lpVert(i);
        mn = {std::min(mn.x, v.x), std::min(mn.y, v.y), std::min(mn.z, v.z)};
        mx = {std::max(mx.x, v.x), std::max(mx.y, v.y), std::max(mx.z, v.z)};
    }
    RETBOX.min = mn;
    RETBOX.max = mx;
}
