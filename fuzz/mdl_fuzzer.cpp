// Fuzz target: the studio reader (the input is also its own texture
// companion), then the animation over what was read: every sequence posed
// at a few positions with its controllers moved, and every model skinned.
// Checks what a read promises: draw lists within their models' vertices.
#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "models/mdl/studio_file.h"
#include "models/mdl/studio_pose.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarko::mdl;
    const Bytes input(data, data + size);
    const StudioModel m = read_studio(input, "fuzz.mdl", [&](const std::string& name) {
        return name == "fuzzt.mdl" ? input : Bytes{};
    });
    for (const auto& models : m.Models)
        for (const ModelMesh& model : models)
            for (const DrawMesh& dm : model.DrawMeshes) {
                if (dm.Indices.size() != dm.TexCoords.size()) std::abort();
                for (const auto i : dm.Indices)
                    if (i < 0 || (i > 0 && i >= model.record.vertex_count)) std::abort();
            }

    StudioPlay play;
    start_play(m, play);
    for (float& c : play.ControllerValues) c = 300;
    std::vector<D3DVECTOR> skinned;
    const std::size_t sequences = std::min<std::size_t>(m.Sequences.size(), 8);
    for (std::size_t s = 0; s <= sequences; ++s) {
        play.AnimSequence = static_cast<tarko::Integer>(s);
        for (const float frame : {0.0f, 1.5f, 7.25f, -2.0f}) {
            play.AnimFrame = frame;
            play.AnimSpeed = 1;
            advance(m, play, 40, 40);
            pose(m, play);
        }
        for (const auto& models : m.Models)
            for (const ModelMesh& model : models) {
                skinned.resize(model.Positions.size());
                skin(model.Positions, model.VertexBones, play.ActorBones, skinned);
            }
    }
    return 0;
}
