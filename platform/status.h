// Status codes of the draw, 3D and input interfaces. A failing call raises a
// RuntimeError carrying its status as the number.
#pragma once

#include <cstdint>
#include <string>

namespace tarko::platform {

using Status = std::int32_t;
inline constexpr Status DD_OK = 0;
inline constexpr Status DDERR_GENERIC = static_cast<Status>(0x80004005);
inline constexpr Status DDERR_UNSUPPORTED = static_cast<Status>(0x80004001);
inline constexpr Status DDERR_INVALIDPARAMS = static_cast<Status>(0x80070057);
inline constexpr Status DDERR_OUTOFMEMORY = static_cast<Status>(0x8007000E);
inline constexpr Status DDERR_INVALIDOBJECT = static_cast<Status>(0x88760082);
inline constexpr Status DDERR_INVALIDRECT = static_cast<Status>(0x88760096);
inline constexpr Status DDERR_NOCOOPERATIVELEVELSET = static_cast<Status>(0x887600D4);
inline constexpr Status DDERR_NOTFOUND = static_cast<Status>(0x887600FF);
inline constexpr Status DDERR_SURFACELOST = static_cast<Status>(0x887601C2);
inline constexpr Status DDERR_NOTLOCKED = static_cast<Status>(0x887602E6);
inline constexpr Status DDERR_INVALIDMODE = static_cast<Status>(0x88760078);
inline constexpr Status DDERR_NOCLIPLIST = static_cast<Status>(0x887600CD);
inline constexpr Status D3DERR_INVALIDVERTEXTYPE = static_cast<Status>(0x8876081E);
inline constexpr Status D3DERR_INVALIDPRIMITIVETYPE = static_cast<Status>(0x8876081D);
inline constexpr Status DIERR_NOTACQUIRED = static_cast<Status>(0x8007000C);
inline constexpr Status DIERR_DEVICENOTREG = static_cast<Status>(0x80040154);

// Raises RuntimeError(status) with a short text naming the call.
[[noreturn]] void fail(Status status, const std::string& where);

}  // namespace tarko::platform
