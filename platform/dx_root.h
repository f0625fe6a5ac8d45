// DirectX7: the root helper object. It makes the draw, input and sound
// objects and offers the colour, matrix, vector and vertex helpers.
#pragma once

#include <string>

#include "platform/base/dx_math.h"
#include "platform/ddraw.h"
#include "platform/input.h"
#include "platform/object_ref.h"
#include "platform/records.h"
#include "runtime/numeric.h"

class DirectSound;

class DirectDrawEnum {
public:
    tarko::Long getCount() const;
    std::string getDescription(tarko::Long index) const;  // 1-based
    std::string getGuid(tarko::Long index) const;
    std::string getName(tarko::Long index) const;
};

class DirectX7 {
public:
    // "" is the default display driver; an unknown GUID raises DDERR_INVALIDPARAMS.
    tarko::Ref<DirectDraw7> directDrawCreate(const std::string& guid);
    tarko::Ref<DirectInput> directInputCreate();
    tarko::Ref<DirectDrawEnum> getDDEnum();

    tarko::Long createColorRGBA(float r, float g, float b, float a) const {
        return tarko::dxmath::createColorRGBA(r, g, b, a);
    }
    float colorGetRed(tarko::Long c) const { return tarko::dxmath::colorGetRed(c); }
    float colorGetGreen(tarko::Long c) const { return tarko::dxmath::colorGetGreen(c); }
    float colorGetBlue(tarko::Long c) const { return tarko::dxmath::colorGetBlue(c); }
    float colorGetAlpha(tarko::Long c) const { return tarko::dxmath::colorGetAlpha(c); }

    // Milliseconds from the runtime clock.
    tarko::Long tickCount() const;
    // Client area of a window in screen coordinates; an unknown handle raises
    // DDERR_INVALIDPARAMS.
    void getWindowRect(tarko::Long hwnd, RECT& rect) const;

    void identityMatrix(D3DMATRIX& m) const { tarko::dxmath::identityMatrix(m); }
    void matrixMultiply(D3DMATRIX& ret, const D3DMATRIX& a, const D3DMATRIX& b) const {
        tarko::dxmath::matrixMultiply(ret, a, b);
    }
    void viewMatrix(D3DMATRIX& ret, const D3DVECTOR& from, const D3DVECTOR& at, const D3DVECTOR& up,
                    float roll) const {
        tarko::dxmath::viewMatrix(ret, from, at, up, roll);
    }
    void projectionMatrix(D3DMATRIX& ret, float near_plane, float far_plane, float fov) const {
        tarko::dxmath::projectionMatrix(ret, near_plane, far_plane, fov);
    }
    void rotateXMatrix(D3DMATRIX& ret, float r) const { tarko::dxmath::rotateXMatrix(ret, r); }
    void rotateYMatrix(D3DMATRIX& ret, float r) const { tarko::dxmath::rotateYMatrix(ret, r); }
    void rotateZMatrix(D3DMATRIX& ret, float r) const { tarko::dxmath::rotateZMatrix(ret, r); }
    void vectorAdd(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) const { tarko::dxmath::vectorAdd(ret, a, b); }
    void vectorSubtract(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) const {
        tarko::dxmath::vectorSubtract(ret, a, b);
    }
    void vectorScale(D3DVECTOR& ret, const D3DVECTOR& a, float s) const { tarko::dxmath::vectorScale(ret, a, s); }
    void vectorCrossProduct(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b) const {
        tarko::dxmath::vectorCrossProduct(ret, a, b);
    }
    float vectorDotProduct(const D3DVECTOR& a, const D3DVECTOR& b) const { return tarko::dxmath::vectorDotProduct(a, b); }
    float vectorModulus(const D3DVECTOR& a) const { return tarko::dxmath::vectorModulus(a); }
    void vectorNormalize(D3DVECTOR& v) const { tarko::dxmath::vectorNormalize(v); }

    void createD3DVertex(float x, float y, float z, float nx, float ny, float nz, float tu, float tv,
                         D3DVERTEX& ret) const {
        tarko::dxmath::createD3DVertex(x, y, z, nx, ny, nz, tu, tv, ret);
    }
    void createD3DLVertex(float x, float y, float z, tarko::Long color, tarko::Long specular, float tu, float tv,
                          D3DLVERTEX& ret) const {
        tarko::dxmath::createD3DLVertex(x, y, z, color, specular, tu, tv, ret);
    }
    void createD3DTLVertex(float sx, float sy, float sz, float rhw, tarko::Long color, tarko::Long specular, float tu,
                           float tv, D3DTLVERTEX& ret) const {
        tarko::dxmath::createD3DTLVertex(sx, sy, sz, rhw, color, specular, tu, tv, ret);
    }

    // ---- sound: BEGIN (directSoundCreate and the music objects)
    // "" is the default output (platform/sound/dsound.h); with no audio backend
    // at all it raises DSERR_NODRIVER. Without a device the backend is silent.
    tarko::Ref<DirectSound> directSoundCreate(const std::string& guid);
    // Music objects (platform/music/dmusic.h).
    tarko::Ref<class DirectMusicLoader> directMusicLoaderCreate();
    tarko::Ref<class DirectMusicPerformance> directMusicPerformanceCreate();
    // ---- sound: END
};
