// Texture conversion and caching.
#include "platform/d3d/texture_cache.h"

#include <algorithm>

namespace tarko::platform::d3d {

std::shared_ptr<const Texture> convert_texture(const DirectDrawSurface7& s, bool keyed) {
    if (s.width() <= 0 || s.height() <= 0 || s.byte_size() == 0 || !s.format().valid()) return nullptr;
    auto t = std::make_shared<Texture>();
    t->width = s.width();
    t->height = s.height();
    t->bump = s.format().is_bump();
    const auto pow2 = [](int n) { return (n & (n - 1)) == 0; };
    t->pow2 = pow2(t->width) && pow2(t->height);
    while ((1 << t->width_shift) < t->width) ++t->width_shift;
    t->texels.resize(static_cast<std::size_t>(t->width) * static_cast<std::size_t>(t->height));
    const bool use_key = keyed && s.has_color_key() && !t->bump;
    const auto key_lo = use_key ? static_cast<std::uint32_t>(s.getColorKey(0).low) : 0u;
    const auto key_hi = use_key ? static_cast<std::uint32_t>(s.getColorKey(0).high) : 0u;
    const auto& fmt = s.format();
    for (int y = 0; y < t->height; ++y)
        for (int x = 0; x < t->width; ++x) {
            const std::uint32_t raw = s.raw_at(x, y);
            std::uint32_t out;
            if (t->bump) {
                out = raw & 0xFFFFu;  // du low byte, dv high byte, both signed
            } else if (use_key && raw >= key_lo && raw <= std::max(key_lo, key_hi)) {
                out = 0;
            } else {
                out = fmt.to_argb(raw);
            }
            t->texels[static_cast<std::size_t>(y) * t->width + x] = out;
        }
    return t;
}

const std::shared_ptr<const Texture>& TextureCache::get(const std::shared_ptr<DirectDrawSurface7>& surface, bool keyed) {
    if (!surface) return none_;
    // expired() tells a surface gone (and another made at its address) apart.
    if (surface.get() == last_ && last_entry_->generation == surface->generation() && last_entry_->keyed == keyed &&
        !last_entry_->surface.expired())
        return last_entry_->texture;
    auto it = entries_.find(surface.get());
    if (it != entries_.end() && it->second.surface.lock() == surface &&
        it->second.generation == surface->generation() && it->second.keyed == keyed) {
        last_ = surface.get(), last_entry_ = &it->second;
        return it->second.texture;
    }
    if (entries_.size() > 512)
        std::erase_if(entries_, [this](auto& kv) {
            if (!kv.second.surface.expired()) return false;
            retired_.push_back(std::move(kv.second.texture));
            return true;
        });
    Entry& e = entries_[surface.get()];
    if (e.texture) retired_.push_back(std::move(e.texture));
    e = Entry{surface, surface->generation(), keyed, convert_texture(*surface, keyed)};
    last_ = surface.get(), last_entry_ = &e;
    return e.texture;
}

}  // namespace tarko::platform::d3d
