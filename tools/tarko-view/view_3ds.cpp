// tarko-view for 3DS files: a summary read straight from the chunk reader, and
// a draw through cTarko_3DSfile.
#include "tools/tarko-view/view_3ds.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <optional>
#include <sstream>

#include "models/3ds/cTarko_3DSfile.h"
#include "models/3ds/chunk_reader.h"
#include "runtime/errors.h"
#include "runtime/files.h"

namespace {

std::string num(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.6g", v);
    return buf;
}
std::string quoted(const std::string& s) {
    std::string out = "\"";
    for (const char c : s) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04x", c);
            out += buf;
        } else {
            out += c;
        }
    }
    return out + "\"";
}
std::string triple(const D3DCOLORVALUE& c, bool json) {
    return json ? "[" + num(c.r) + ", " + num(c.g) + ", " + num(c.b) + ", " + num(c.a) + "]"
                : "(" + num(c.r) + ", " + num(c.g) + ", " + num(c.b) + ", " + num(c.a) + ")";
}
std::string point(const D3DVECTOR& v, bool json) {
    return (json ? "[" : "(") + num(v.x) + ", " + num(v.y) + ", " + num(v.z) + (json ? "]" : ")");
}

}  // namespace

bool is_3ds(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= 6 && bytes[0] == 0x4D && bytes[1] == 0x4D;
}

std::string info_3ds(const std::string& file, bool json) {
    using namespace tarko::threeds;
    Model m;
    std::optional<tarko::io::ParseError> stopped;
    std::optional<tarko::RuntimeError> error;
    try {
        stopped = read_3ds(tarko::runtime::read_file_or_empty(file), m).stopped;
    } catch (const tarko::RuntimeError& e) {
        error = e;  // the model holds what came before it
    }

    constexpr float inf = std::numeric_limits<float>::infinity();
    D3DVECTOR lo{inf, inf, inf}, hi{-inf, -inf, -inf};
    long total_faces = 0;
    bool any = false;
    std::ostringstream meshes;
    for (int i = 0; i < m.MeshCount; ++i) {
        const MeshObject& mesh = m.MeshObjects[static_cast<std::size_t>(i)];
        for (int v = 0; v < mesh.VertexCount; ++v) {
            const D3DVERTEX& p = mesh.Vertices[static_cast<std::size_t>(v)];
            any = true;
            lo = {std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
            hi = {std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
        }
        long faces = 0;
        std::ostringstream groups;
        for (int g = 0; g < mesh.GroupCount; ++g) {
            const MeshGroup& group = mesh.Groups[static_cast<std::size_t>(g)];
            faces += group.IndexCount / 3;
            if (json)
                groups << (g ? ", " : "") << "{\"slot\": " << group.MaterialSlot
                       << ", \"faces\": " << group.IndexCount / 3 << "}";
            else
                groups << (g ? ", " : "") << "slot " << group.MaterialSlot << " x " << group.IndexCount / 3;
        }
        total_faces += faces;
        if (json)
            meshes << (i ? ", " : "") << "{\"vertices\": " << mesh.VertexCount << ", \"faces\": " << faces
                   << ", \"groups\": [" << groups.str() << "]}";
        else
            meshes << "mesh " << i << ": " << mesh.VertexCount << " vertices, " << faces << " faces, groups "
                   << groups.str() << "\n";
    }
    if (!any) lo = hi = D3DVECTOR{};

    std::ostringstream mats;
    for (int s = 1; s <= m.Materials.MaterialCount; ++s) {
        const auto k = static_cast<std::size_t>(s);
        const D3DMATERIAL7& mat = m.Materials.Material[k];
        if (json)
            mats << (s > 1 ? ", " : "") << "{\"slot\": " << s << ", \"name\": " << quoted(m.Materials.Name[k])
                 << ", \"ambient\": " << triple(mat.ambient, true) << ", \"diffuse\": " << triple(mat.diffuse, true)
                 << ", \"specular\": " << triple(mat.specular, true) << "}";
        else
            mats << "material " << s << " " << quoted(m.Materials.Name[k]) << ": ambient " << triple(mat.ambient, false)
                 << " diffuse " << triple(mat.diffuse, false) << " specular " << triple(mat.specular, false) << "\n";
    }

    std::ostringstream out;
    if (json) {
        out << "{\"file\": " << quoted(file) << ", \"meshes\": [" << meshes.str() << "], \"faces\": " << total_faces
            << ", \"materials\": [" << mats.str() << "], \"bounds\": {\"min\": " << point(lo, true)
            << ", \"max\": " << point(hi, true) << "}";
        if (stopped)
            out << ", \"stopped\": {\"offset\": " << stopped->offset() << ", \"reason\": " << quoted(stopped->reason())
                << "}";
        if (error) out << ", \"error\": {\"number\": " << error->number() << ", \"description\": " << quoted(error->description()) << "}";
        out << "}\n";
    } else {
        out << file << ": " << m.MeshCount << " meshes, " << total_faces << " faces, "
            << m.Materials.MaterialCount << " materials\n"
            << meshes.str() << mats.str() << "bounds " << point(lo, false) << " - " << point(hi, false) << "\n";
        if (stopped) out << "read stopped at byte " << stopped->offset() << ": " << stopped->reason() << "\n";
        if (error) out << "error " << error->number() << ": " << error->description() << "\n";
    }
    return out.str();
}

void render_3ds(tarko_DX7& TKX, const std::string& file) {
    cTarko_3DSfile model;
    model.Open_3ds(TKX, file);
    model.Render(TKX);
}
