// Camera hook of the frame cycle: the view matrix from the eye and target.
#include "engine/tarko_dx7.h"
#include "platform/constants.h"

void tarko_DX7::Camera_update(bool) {
    ensure_root();
    DX_7->viewMatrix(ViewMatrix, CamEye, CamAt, D3DVECTOR{0, 1, 0}, 0);
    D3D_DEV->setTransform(dx::D3DTRANSFORMSTATE_VIEW, ViewMatrix);
}
