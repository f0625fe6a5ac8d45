// The sprite loader: a sprite file's frames become textures of SpriteTable.
#include <functional>

#include "engine/tarko_dx7.h"
#include "maths/GLOB.h"
#include "mesh/mesh.h"
#include "mesh/sprite_reader.h"
#include "platform/pixel_format.h"
#include "runtime/byte_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"

namespace tarko {

void Mesh::LoadSprite(const std::string& FileName, tarko_DX7& engine) {
    auto& m = mesh::module();
    mesh::MeshRecord& r = record();
    // Frames are shared: a mesh showing the same file lends its run.
    for (std::size_t i = 0; i < m.MeshTable.size(); ++i) {
        const auto& other = m.MeshTable[i];
        if (static_cast<Integer>(i) == MeshSlot || other.MeshEnabled == 0 || other.SpriteOn != -1 ||
            other.SpriteFile != FileName)
            continue;
        r.FirstSprite = other.FirstSprite;
        r.CurrentSprite = other.CurrentSprite;
        r.SpriteCount = other.SpriteCount;
        r.SpriteOn = -1;
        return;
    }
    // Each failing step leaves a line for the developer and the next one runs.
    auto step = [&](const std::function<void()>& statement) {
        runtime::catch_all(statement, [&](const RuntimeError& e) {
            m.DeveloperTrace.push_back("Erreur dans le loading des sprites " + e.description() + " " +
                                       std::to_string(e.number()));
        });
    };

    r.SpriteFile = FileName;
    mesh::SpriteFile sprite;
    bool read = false;
    step([&] {
        try {
            sprite = mesh::parse_sprite(runtime::read_file(FileName));
            read = true;
        } catch (const io::ParseError& e) {
            raise_error(err::InputPastEnd, e.what());
        }
    });
    if (!read) return;  // nothing of the file to show: every later step would fail on it
    Ref<DirectDrawSurface7> work;
    step([&] { work = engine.CreateTexture("", sprite.width, sprite.height); });

    const auto frames = static_cast<Long>(sprite.frames.size());
    ++m.SpriteCursor;
    r.SpriteOn = -1;
    r.FirstSprite = r.CurrentSprite = m.SpriteCursor;
    r.SpriteCount = frames;
    const auto needed = static_cast<std::size_t>(m.SpriteCursor + std::max<Long>(frames, 1));
    if (m.SpriteTable.size() < needed) {
        m.SpriteTable.resize(needed);
        m.SpriteNames.resize(needed);
    }
    Long w = sprite.width, h = sprite.height;
    GLOB::RoundTextureSize(w, h);

    for (Long f = 0; f < frames; ++f) {
        const auto entry = static_cast<std::size_t>(m.SpriteCursor + f);
        step([&] {
            DDSURFACEDESC2 desc;
            work->lock(RECT{}, desc, 0, 0);
            const platform::PixelFormat format(desc.ddpfPixelFormat);
            const auto& indices = sprite.frames[static_cast<std::size_t>(f)];
            for (Long y = 0; y < sprite.height; ++y)
                for (Long x = 0; x < sprite.width; ++x) {
                    const std::uint8_t i = indices[static_cast<std::size_t>(y * sprite.width + x)];
                    work->setLockedPixel(x, y, static_cast<Long>(format.from_argb(0xFF000000u | sprite.palette[i])));
                }
            work->unlock(RECT{});
        });
        Ref<DirectDrawSurface7> texture;
        step([&] { texture = engine.CreateTexture("", w, h); });
        m.SpriteTable[entry] = texture;
        step([&] { texture->blt(RECT{}, work, RECT{}, 0x8000000); });  // DDBLT_DONOTWAIT
        m.SpriteNames[entry] = FileName;
    }
    m.SpriteCursor += frames - 1;
}

}  // namespace tarko
