// The engine's PCX module: 8- and 24-bit PCX files as picture objects for the
// texture pipeline (CreateTextureEX). The reader itself is images/pcx.h, which
// documents the run rules, messages and refusals.
#pragma once

#include <string>

#include "platform/gdi/picture.h"
#include "platform/object_ref.h"

namespace tarko::engine {

// The picture, or Nothing after the reader's message (or silently, for plane
// counts other than 1 and 3 and damaged bodies). A missing file raises 53;
// 16-bit size overflow raises 6.
Ref<platform::gdi::StdPicture> LoadPCX(const std::string& file_name);

}  // namespace tarko::engine
