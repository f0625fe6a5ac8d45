// Textures converted once to 32-bit texels and kept until their surface
// changes (its generation moves) or goes away.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/d3d/pipeline.h"
#include "platform/surface.h"

namespace tarko::platform::d3d {

class TextureCache {
public:
    // The converted texture; `keyed` asks for colour-keyed texels as
    // transparent black. Empty surfaces give nullptr (read as white). The
    // texture lives at least until release_retired(), even when its surface
    // changes or goes away: gathered draws point into it without a count.
    const std::shared_ptr<const Texture>& get(const std::shared_ptr<DirectDrawSurface7>& surface, bool keyed);
    // Lets go of the textures that were replaced or whose surfaces went away;
    // the caller has no draw left that reads them.
    void release_retired() { retired_.clear(); }

private:
    struct Entry {
        std::weak_ptr<DirectDrawSurface7> surface;
        std::uint64_t generation = 0;
        bool keyed = false;
        std::shared_ptr<const Texture> texture;
    };
    const std::shared_ptr<const Texture> none_;
    std::vector<std::shared_ptr<const Texture>> retired_;
    std::unordered_map<const DirectDrawSurface7*, Entry> entries_;
    // The last surface asked for: draws mostly ask for the one before again.
    const DirectDrawSurface7* last_ = nullptr;
    const Entry* last_entry_ = nullptr;
};

// Conversion of one surface (for the cache and for tests).
std::shared_ptr<const Texture> convert_texture(const DirectDrawSurface7& surface, bool keyed);

}  // namespace tarko::platform::d3d
