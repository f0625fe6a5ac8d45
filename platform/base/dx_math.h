// The vector, matrix, colour and record helpers of the DirectX7 root object,
// as free functions so that classes without a device (cMATH, cCOLLISION) share
// them. Every component is worked out in double and rounded to Single once.
#pragma once

#include <cstdint>

#include "platform/records.h"

namespace tarko::dxmath {

void identityMatrix(D3DMATRIX& ret);
// ret = a x b: ret(i,j) = sum over k of a(i,k) b(k,j). ret may alias a or b.
void matrixMultiply(D3DMATRIX& ret, const D3DMATRIX& a, const D3DMATRIX& b);
// Left-handed look-at, row vectors. A degenerate input (from = at, or up
// parallel to the view direction) gives the identity.
void viewMatrix(D3DMATRIX& ret, const D3DVECTOR& from, const D3DVECTOR& at, const D3DVECTOR& up, float roll);
// Perspective with a square aspect: rc11 = rc22 = cot(fov / 2), rc33 = far /
// (far - near), rc34 = 1, rc43 = -near far / (far - near). near = far gives
// the identity.
void projectionMatrix(D3DMATRIX& ret, float near_plane, float far_plane, float fov);
void rotateXMatrix(D3DMATRIX& ret, float radians);
void rotateYMatrix(D3DMATRIX& ret, float radians);
void rotateZMatrix(D3DMATRIX& ret, float radians);

void vectorAdd(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b);
void vectorSubtract(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b);
void vectorScale(D3DVECTOR& ret, const D3DVECTOR& a, float s);
void vectorCrossProduct(D3DVECTOR& ret, const D3DVECTOR& a, const D3DVECTOR& b);
float vectorDotProduct(const D3DVECTOR& a, const D3DVECTOR& b);
float vectorModulus(const D3DVECTOR& a);
// In place; the zero vector stays zero.
void vectorNormalize(D3DVECTOR& v);

// Packs Singles 0..1 into an ARGB Long: each channel is round(c * 255) clamped
// to 0..255, so (1, 1, 1, 1) is -1 and an alpha of 255 saturates to 255.
std::int32_t createColorRGBA(float r, float g, float b, float a);
float colorGetAlpha(std::int32_t argb);
float colorGetRed(std::int32_t argb);
float colorGetGreen(std::int32_t argb);
float colorGetBlue(std::int32_t argb);

void createD3DVertex(float x, float y, float z, float nx, float ny, float nz, float tu, float tv, D3DVERTEX& ret);
void createD3DLVertex(float x, float y, float z, std::int32_t color, std::int32_t specular, float tu, float tv,
                      D3DLVERTEX& ret);
void createD3DTLVertex(float sx, float sy, float sz, float rhw, std::int32_t color, std::int32_t specular, float tu,
                       float tv, D3DTLVERTEX& ret);

}  // namespace tarko::dxmath
