// Fuzz target: the X reader (text, binary, compressed), the mesh builder and
// the texture-name scan. A bad file ends in ParseError; what parses must
// build into groups whose face data stays inside each group's vertices.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "models/x/mesh_builder.h"
#include "models/x/texture_scan.h"
#include "models/x/x_file.h"
#include "runtime/byte_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    namespace x = tarko::x;
    const std::span<const std::uint8_t> bytes(data, size);
    (void)x::scan_texture_names(bytes);
    try {
        const x::File file = x::parse(bytes);
        for (const x::Route route : {x::Route::Mesh, x::Route::Frames}) {
            if (!x::has_route(file, route)) continue;
            const auto groups = x::create_groups(x::gather(file, route));
            for (const auto& g : groups) {
                std::size_t f = 0;
                while (f < g.face_data.size()) {
                    const std::size_t count = g.vertices_per_face ? g.vertices_per_face : g.face_data[f++];
                    for (std::size_t k = 0; k < count; ++k)
                        if (f + k >= g.face_data.size() || g.face_data[f + k] >= g.vertices.size()) std::abort();
                    f += count;
                }
            }
        }
    } catch (const tarko::io::ParseError&) {
        // The reader's documented refusal.
    }
    return 0;
}
