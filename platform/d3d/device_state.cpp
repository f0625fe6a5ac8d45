// Device state defaults, as a freshly created device has them.
#include "platform/d3d/device_state.h"

#include <cstring>

#include "platform/base/dx_math.h"
#include "platform/constants.h"

namespace tarko::platform::d3d {

DeviceState::DeviceState() {
    dxmath::identityMatrix(world);
    dxmath::identityMatrix(view);
    dxmath::identityMatrix(projection);
    render[dx::D3DRENDERSTATE_ZENABLE] = 1;
    render[dx::D3DRENDERSTATE_FILLMODE] = dx::D3DFILL_SOLID;
    render[dx::D3DRENDERSTATE_SHADEMODE] = dx::D3DSHADE_GOURAUD;
    render[dx::D3DRENDERSTATE_ZWRITEENABLE] = 1;
    render[dx::D3DRENDERSTATE_SRCBLEND] = dx::D3DBLEND_ONE;
    render[dx::D3DRENDERSTATE_DESTBLEND] = dx::D3DBLEND_ZERO;
    render[dx::D3DRENDERSTATE_CULLMODE] = dx::D3DCULL_CCW;
    render[dx::D3DRENDERSTATE_ZFUNC] = dx::D3DCMP_LESSEQUAL;
    render[dx::D3DRENDERSTATE_ALPHAFUNC] = dx::D3DCMP_ALWAYS;
    render[dx::D3DRENDERSTATE_FOGEND] = 0x3F800000;  // 1.0f
    render[dx::D3DRENDERSTATE_FOGDENSITY] = 0x3F800000;
    render[dx::D3DRENDERSTATE_CLIPPING] = 1;
    render[dx::D3DRENDERSTATE_LIGHTING] = 1;
    render[dx::D3DRENDERSTATE_COLORVERTEX] = 1;
    render[dx::D3DRENDERSTATE_LASTPIXEL] = 1;
    render[dx::D3DRENDERSTATE_TEXTUREFACTOR] = -1;  // opaque white
    render[142] = 1;                                // LOCALVIEWER
    for (int s = 0; s < Direct3DDevice7::kMaxStages; ++s) {
        auto& st = stage[static_cast<std::size_t>(s)];
        st[dx::D3DTSS_COLOROP] = s == 0 ? dx::D3DTOP_MODULATE : dx::D3DTOP_DISABLE;
        st[dx::D3DTSS_ALPHAOP] = s == 0 ? dx::D3DTOP_SELECTARG1 : dx::D3DTOP_DISABLE;
        st[dx::D3DTSS_COLORARG1] = dx::D3DTA_TEXTURE;
        st[dx::D3DTSS_COLORARG2] = dx::D3DTA_CURRENT;
        st[dx::D3DTSS_ALPHAARG1] = dx::D3DTA_TEXTURE;
        st[dx::D3DTSS_ALPHAARG2] = dx::D3DTA_CURRENT;
        st[dx::D3DTSS_TEXCOORDINDEX] = s;
        st[dx::D3DTSS_ADDRESS] = st[dx::D3DTSS_ADDRESSU] = st[dx::D3DTSS_ADDRESSV] = dx::D3DTADDRESS_WRAP;
        st[dx::D3DTSS_MAGFILTER] = dx::D3DTFG_POINT;
        st[dx::D3DTSS_MINFILTER] = dx::D3DTFN_POINT;
    }
}

float DeviceState::render_single(Long state) const {
    float f;
    const Long bits = render[static_cast<std::size_t>(state)];
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

}  // namespace tarko::platform::d3d
