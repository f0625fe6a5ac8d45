// tarko-view's handling of 3DS files: recognise, describe, draw.
#pragma once

#include <cstdint>
#include <span>
#include <string>

class tarko_DX7;

// True for bytes that start with the 3DS main chunk (0x4D4D).
bool is_3ds(std::span<const std::uint8_t> bytes);
// Meshes (vertices, faces, groups with their slots), total faces, material
// names and colours, bounds in engine axes, and where the read stopped or the
// error it raised, as text lines or one JSON object. A missing file reads as
// empty.
std::string info_3ds(const std::string& file, bool json);
// Loads the file into a cTarko_3DSfile and draws it with the transform in
// force; the caller sets up device, camera and light.
void render_3ds(tarko_DX7& TKX, const std::string& file);
