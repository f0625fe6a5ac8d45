// The X reader: a lexer for each encoding, one parser over their tokens into a
// tree of data objects, and the reading of the objects the engine knows.
#include "models/x/x_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "models/x/mszip.h"
#include "runtime/byte_reader.h"

namespace tarko::x {

using io::ByteReader;
using io::ParseError;

Matrix multiply(const Matrix& a, const Matrix& b) {
    Matrix r{};
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double s = 0;
            for (int k = 0; k < 4; ++k) s += double(a[i * 4 + k]) * b[k * 4 + j];
            r[i * 4 + j] = static_cast<float>(s);
        }
    return r;
}

Vec3 transform_point(const Vec3& p, const Matrix& m) {
    return {static_cast<float>(double(p.x) * m[0] + double(p.y) * m[4] + double(p.z) * m[8] + m[12]),
            static_cast<float>(double(p.x) * m[1] + double(p.y) * m[5] + double(p.z) * m[9] + m[13]),
            static_cast<float>(double(p.x) * m[2] + double(p.y) * m[6] + double(p.z) * m[10] + m[14])};
}

namespace {

enum class Tok { End, Name, String, Number, NumberList, Guid, OBrace, CBrace, Template };

struct Token {
    Tok kind = Tok::End;
    std::string_view text;       // Name, String, Guid
    double number = 0;           // Number
    const std::uint8_t* list = nullptr;   // NumberList: raw little-endian elements
    std::size_t count = 0;
    int element = 0;             // 4: u32, -4: f32, 8: f64
    std::size_t offset = 0;
};

// ---- text

// Characters that end a word: blanks, separators, braces, quotes, angle brackets.
struct WordTable {
    bool stop[256]{};
    constexpr WordTable() {
        for (int c = 0; c <= 32; ++c) stop[c] = true;
        for (unsigned char c : std::string_view(";,{}\"<>[]")) stop[c] = true;
        stop[127] = true;
    }
};
constexpr WordTable kWords;

class TextLexer {
public:
    explicit TextLexer(ByteReader& in) : in_(in), p_(in.data().data()), begin_(p_), end_(p_ + in.size()) {
        p_ += in.position();
    }

    Token next() {
        for (;;) {
            while (p_ < end_ && (*p_ <= 32 || *p_ == ';' || *p_ == ',' || *p_ == 127)) ++p_;
            if (p_ == end_) return {Tok::End, {}, 0, nullptr, 0, 0, offset()};
            if (*p_ == '#' || (*p_ == '/' && p_ + 1 < end_ && p_[1] == '/')) {
                while (p_ < end_ && *p_ != '\n') ++p_;
                continue;
            }
            break;
        }
        Token t;
        t.offset = offset();
        const unsigned char c = *p_;
        if (c == '{') { ++p_; t.kind = Tok::OBrace; return t; }
        if (c == '}') { ++p_; t.kind = Tok::CBrace; return t; }
        if (c == '[' || c == ']') {   // only in template declarations: a word of its own
            ++p_;
            t.kind = Tok::Name;
            t.text = c == '[' ? "[" : "]";
            return t;
        }
        if (c == '"') {
            const auto* start = ++p_;
            const void* q = std::memchr(p_, '"', static_cast<std::size_t>(end_ - p_));
            if (!q) in_.fail_at(t.offset, "string without its closing quote");
            p_ = static_cast<const std::uint8_t*>(q) + 1;
            t.kind = Tok::String;
            t.text = view(start, p_ - 1);
            return t;
        }
        if (c == '<') {
            const auto* start = ++p_;
            const void* q = std::memchr(p_, '>', static_cast<std::size_t>(end_ - p_));
            if (!q) in_.fail_at(t.offset, "GUID without its closing bracket");
            p_ = static_cast<const std::uint8_t*>(q) + 1;
            t.kind = Tok::Guid;
            t.text = view(start, p_ - 1);
            return t;
        }
        if (c == '>') in_.fail_at(t.offset, "stray '>'");
        const auto* start = p_;
        while (p_ < end_ && !kWords.stop[*p_]) ++p_;
        const char* s = reinterpret_cast<const char*>(start);
        const char* e = reinterpret_cast<const char*>(p_);
        if (c == '-' || c == '+' || c == '.' || (c >= '0' && c <= '9')) {
            const char* from = c == '+' ? s + 1 : s;
            double v = 0;
            const auto r = std::from_chars(from, e, v);
            if (r.ec == std::errc() && r.ptr == e) {
                t.kind = Tok::Number;
                t.number = v;
                return t;
            }
            if (r.ec == std::errc::result_out_of_range && r.ptr == e) {
                t.kind = Tok::Number;   // beyond a double: zero or infinite, read as 0
                return t;
            }
        }
        t.kind = Tok::Name;
        t.text = view(start, p_);
        return t;
    }

private:
    std::size_t offset() const { return in_.begin_offset() + static_cast<std::size_t>(p_ - begin_); }
    static std::string_view view(const std::uint8_t* a, const std::uint8_t* b) {
        return {reinterpret_cast<const char*>(a), static_cast<std::size_t>(b - a)};
    }
    ByteReader& in_;
    const std::uint8_t* p_;
    const std::uint8_t* begin_;
    const std::uint8_t* end_;
};

// ---- binary

namespace bin {
constexpr std::uint16_t Name = 1, String = 2, Integer = 3, Guid = 5, IntegerList = 6, FloatList = 7;
constexpr std::uint16_t OBrace = 10, CBrace = 11, Template = 31;
}  // namespace bin

class BinaryLexer {
public:
    BinaryLexer(ByteReader& in, int float_bits) : in_(in), float_size_(float_bits / 8) {}

    Token next() {
        for (;;) {
            Token t;
            t.offset = in_.offset();
            if (in_.at_end()) return t;
            const std::uint16_t code = in_.u16();
            switch (code) {
            case bin::Name:
                t.kind = Tok::Name;
                t.text = text(in_.u32());
                return t;
            case bin::String:
                t.kind = Tok::String;
                t.text = text(in_.u32());
                // The terminator that follows (a separator token) is skipped with the other separators.
                return t;
            case bin::Integer:
                t.kind = Tok::Number;
                t.number = in_.u32();
                return t;
            case bin::Guid:
                in_.skip(16);
                t.kind = Tok::Guid;
                return t;
            case bin::IntegerList:
            case bin::FloatList: {
                const int size = code == bin::IntegerList ? 4 : float_size_;
                t.kind = Tok::NumberList;
                t.count = in_.count_fits(in_.u32(), static_cast<std::size_t>(size), "number list");
                t.list = in_.bytes(t.count * static_cast<std::size_t>(size)).data();
                t.element = code == bin::IntegerList ? 4 : (size == 4 ? -4 : 8);
                return t;
            }
            case bin::OBrace: t.kind = Tok::OBrace; return t;
            case bin::CBrace: t.kind = Tok::CBrace; return t;
            case bin::Template: t.kind = Tok::Template; return t;
            default:
                // Separators, brackets and the type words of template declarations;
                // 0 only as the high half of a string's 32-bit terminator.
                if (code == 0 || (code >= 12 && code <= 20) || (code >= 40 && code <= 53)) continue;
                in_.fail_at(t.offset, "unknown binary token " + std::to_string(code));
            }
        }
    }

private:
    std::string_view text(std::uint32_t n) {
        const auto b = in_.bytes(in_.count_fits(n, 1, "name"));
        return {reinterpret_cast<const char*>(b.data()), b.size()};
    }
    ByteReader& in_;
    int float_size_;
};

// ---- data objects

struct Object {
    std::string_view type;     // template name; "" for a reference
    std::string_view name;     // object name, or the referenced name
    std::vector<double> numbers;
    std::vector<std::string_view> strings;
    std::vector<Object> children;   // nested objects and references, in file order
    std::size_t offset = 0;
    bool reference() const { return type.empty(); }
};

bool same(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        auto lo = [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; };
        if (lo(a[i]) != lo(b[i])) return false;
    }
    return true;
}

template <class Lexer>
class Parser {
public:
    explicit Parser(Lexer& lex) : lex_(lex) {}

    std::vector<Object> top() {
        std::vector<Object> objects;
        for (;;) {
            Token t = take();
            if (t.kind == Tok::End) return objects;
            if (t.kind == Tok::Template || (t.kind == Tok::Name && t.text == "template")) {
                skip_template(t);
            } else if (t.kind == Tok::Name) {
                objects.push_back(object(t, 0));
            } else if (t.kind == Tok::OBrace) {
                reference(t);   // a reference at the top means nothing
            } else {
                fail(t, "unexpected token at the top level");
            }
        }
    }

private:
    Token take() {
        if (has_peek_) {
            has_peek_ = false;
            return peek_;
        }
        return lex_.next();
    }
    const Token& peek() {
        if (!has_peek_) {
            peek_ = lex_.next();
            has_peek_ = true;
        }
        return peek_;
    }
    [[noreturn]] static void fail(const Token& t, const std::string& why) { throw ParseError(why, t.offset); }

    void skip_template(const Token& at) {
        Token t = take();
        if (t.kind == Tok::Name) t = take();
        if (t.kind != Tok::OBrace) fail(at, "template without its body");
        for (int depth = 1; depth > 0;) {
            t = take();
            if (t.kind == Tok::End) fail(at, "template not closed");
            if (t.kind == Tok::OBrace) ++depth;
            if (t.kind == Tok::CBrace) --depth;
        }
    }

    Object reference(const Token& open) {
        Object r;
        r.offset = open.offset;
        for (;;) {
            const Token t = take();
            if (t.kind == Tok::CBrace) return r;
            if (t.kind == Tok::Name && r.name.empty()) r.name = t.text;
            else if (t.kind != Tok::Name && t.kind != Tok::Guid) fail(t, "reference not closed");
        }
    }

    Object object(const Token& type, int depth) {
        if (depth >= kMaxDepth) fail(type, "objects nested too deep");
        Object o;
        o.type = type.text;
        o.offset = type.offset;
        Token t = take();
        if (t.kind == Tok::Name) {
            o.name = t.text;
            t = take();
        }
        if (t.kind != Tok::OBrace) fail(type, "object " + std::string(type.text) + " without its body");
        for (;;) {
            t = take();
            switch (t.kind) {
            case Tok::CBrace: return o;
            case Tok::Number: o.numbers.push_back(t.number); break;
            case Tok::NumberList: append(o.numbers, t); break;
            case Tok::String: o.strings.push_back(t.text); break;
            case Tok::Guid: break;   // the object's own GUID
            case Tok::OBrace: o.children.push_back(reference(t)); break;
            case Tok::Name: {
                const Tok next = peek().kind;
                if (next == Tok::OBrace || next == Tok::Name) o.children.push_back(object(t, depth + 1));
                else o.strings.push_back(t.text);   // a bare word as data
                break;
            }
            case Tok::End: fail(type, "object " + std::string(type.text) + " not closed");
            case Tok::Template: fail(t, "template inside an object");
            }
        }
    }

    static void append(std::vector<double>& out, const Token& t) {
        const std::size_t at = out.size();
        out.resize(at + t.count);
        double* d = out.data() + at;
        const std::uint8_t* p = t.list;
        for (std::size_t i = 0; i < t.count; ++i) {
            if (t.element == 4) {
                std::uint32_t v;
                std::memcpy(&v, p + 4 * i, 4);
                d[i] = v;
            } else if (t.element == -4) {
                float v;
                std::memcpy(&v, p + 4 * i, 4);
                d[i] = v;
            } else {
                std::memcpy(&d[i], p + 8 * i, 8);
            }
        }
    }

    Lexer& lex_;
    Token peek_;
    bool has_peek_ = false;
};

// ---- reading the known objects

// Walks an object's numbers with checks.
class Numbers {
public:
    explicit Numbers(const Object& o) : o_(o) {}
    std::size_t left() const { return o_.numbers.size() - i_; }
    double next(const char* what) {
        if (i_ >= o_.numbers.size()) throw ParseError(std::string(o_.type) + ": " + what + " missing", o_.offset);
        return o_.numbers[i_++];
    }
    float f(const char* what) {
        const double v = next(what);
        return std::isfinite(v) ? static_cast<float>(v) : 0.0f;
    }
    std::uint32_t u(const char* what) {
        const double v = next(what);
        if (!(v >= 0 && v <= 4294967295.0) || v != std::floor(v))
            throw ParseError(std::string(o_.type) + ": " + what + " is not a count", o_.offset);
        return static_cast<std::uint32_t>(v);
    }
    // A count of records of `per` numbers each, checked against what is left.
    std::size_t count(const char* what, std::size_t per) {
        const std::uint32_t n = u(what);
        if (per && n > left() / per)
            throw ParseError(std::string(o_.type) + ": " + std::to_string(n) + " " + what + " do not fit", o_.offset);
        return n;
    }

private:
    const Object& o_;
    std::size_t i_ = 0;
};

struct Names {
    std::unordered_map<std::string_view, Material> materials;       // the last of a name wins
    std::unordered_map<std::string_view, const Object*> meshes;
    // Numbers that mesh references may still copy: a few bytes of reference
    // must not multiply a large mesh without end.
    mutable std::size_t copy_budget = 0;
};

Material read_material(const Object& o) {
    Material m;
    m.name = std::string(o.name);
    Numbers n(o);
    m.face = {n.f("face colour"), n.f("face colour"), n.f("face colour"), n.f("face colour")};
    m.power = n.f("power");
    m.specular = {n.f("specular colour"), n.f("specular colour"), n.f("specular colour"), 1};
    m.emissive = {n.f("emissive colour"), n.f("emissive colour"), n.f("emissive colour"), 1};
    for (const Object& c : o.children)
        if (same(c.type, "TextureFilename") && !c.strings.empty()) m.texture = std::string(c.strings.front());
    return m;
}

std::uint32_t index_below(Numbers& n, std::size_t limit, const Object& o, const char* what) {
    const std::uint32_t i = n.u(what);
    if (i >= limit) throw ParseError(std::string(o.type) + ": " + what + " " + std::to_string(i) + " out of range", o.offset);
    return i;
}

void read_material_list(const Object& o, Mesh& mesh, const Names& names) {
    Numbers n(o);
    const std::size_t count = n.u("material count");
    const std::size_t faces = n.count("face indices", 1);
    mesh.face_material.resize(faces);
    for (auto& f : mesh.face_material) f = n.u("face material");
    for (const Object& c : o.children) {
        if (c.reference()) {
            const auto it = names.materials.find(c.name);
            mesh.materials.push_back(it == names.materials.end() ? Material{} : it->second);
        } else if (same(c.type, "Material")) {
            mesh.materials.push_back(read_material(c));
        }
    }
    // Fewer materials than the list states: those the faces use are the default white.
    std::uint32_t used = 0;
    for (const auto f : mesh.face_material) used = std::max(used, f);
    if (used >= mesh.materials.size() && used < count) mesh.materials.resize(std::size_t{used} + 1);
    if (mesh.materials.empty()) mesh.materials.resize(1);
    // A short index list repeats its last entry (exporters write one index for a one-material mesh).
    const std::size_t nfaces = mesh.face_count();
    if (mesh.face_material.size() > nfaces) mesh.face_material.resize(nfaces);
    const std::uint32_t last = mesh.face_material.empty() ? 0 : mesh.face_material.back();
    mesh.face_material.resize(nfaces, last);
    for (auto& f : mesh.face_material)
        if (f >= mesh.materials.size()) throw ParseError("MeshMaterialList: material index out of range", o.offset);
}

Mesh read_mesh(const Object& o, const Names& names) {
    Mesh mesh;
    mesh.name = std::string(o.name);
    Numbers n(o);
    const std::size_t nv = n.count("vertices", 3);
    mesh.positions.resize(nv);
    for (auto& p : mesh.positions) p = {n.f("vertex"), n.f("vertex"), n.f("vertex")};
    const std::size_t nf = n.count("faces", 1);
    mesh.face_start.reserve(nf + 1);
    mesh.indices.reserve(std::min<std::size_t>(n.left(), nf * 4));
    for (std::size_t f = 0; f < nf; ++f) {
        const std::size_t k = n.count("face indices", 1);
        for (std::size_t i = 0; i < k; ++i) mesh.indices.push_back(index_below(n, nv, o, "vertex index"));
        mesh.face_start.push_back(static_cast<std::uint32_t>(mesh.indices.size()));
    }
    for (const Object& c : o.children) {
        if (same(c.type, "MeshTextureCoords")) {
            Numbers t(c);
            const std::size_t count = t.count("coordinates", 2);
            if (count != nv) throw ParseError("MeshTextureCoords: not one per vertex", c.offset);
            mesh.uvs.resize(count);
            for (auto& uv : mesh.uvs) uv = {t.f("coordinate"), t.f("coordinate")};
        } else if (same(c.type, "MeshNormals")) {
            Numbers t(c);
            mesh.file_normals = t.count("normals", 3);
        } else if (same(c.type, "MeshVertexColors")) {
            Numbers t(c);
            const std::size_t count = t.count("colours", 5);
            mesh.colors.assign(nv, Color{});
            for (std::size_t i = 0; i < count; ++i) {
                const std::uint32_t v = index_below(t, nv, c, "vertex");
                mesh.colors[v] = {t.f("colour"), t.f("colour"), t.f("colour"), t.f("colour")};
            }
        } else if (same(c.type, "MeshMaterialList")) {
            read_material_list(c, mesh, names);
        }
    }
    return mesh;
}

Matrix read_matrix(const Object& o) {
    Numbers n(o);
    Matrix m;
    for (float& v : m) v = n.f("matrix");
    return m;
}

Frame read_frame(const Object& o, const Names& names, int depth) {
    if (depth >= kMaxDepth) throw ParseError("frames nested too deep", o.offset);
    Frame f;
    f.name = std::string(o.name);
    for (const Object& c : o.children) {
        if (c.reference()) {
            const auto it = names.meshes.find(c.name);
            if (it != names.meshes.end()) {
                const Object& mesh = *it->second;
                if (mesh.numbers.size() > names.copy_budget)
                    throw ParseError("mesh references copy more than the file holds", c.offset);
                names.copy_budget -= mesh.numbers.size();
                f.meshes.push_back(read_mesh(mesh, names));
            }
        } else if (same(c.type, "FrameTransformMatrix")) {
            f.transform = read_matrix(c);
        } else if (same(c.type, "Mesh")) {
            f.meshes.push_back(read_mesh(c, names));
        } else if (same(c.type, "Frame")) {
            f.children.push_back(read_frame(c, names, depth + 1));
        }
    }
    return f;
}

void interpret(const std::vector<Object>& objects, File& file, std::size_t file_size) {
    Names names;
    names.copy_budget = 4 * file_size + 4096;
    for (const Object& o : objects) {
        if (same(o.type, "Material") && !o.name.empty()) names.materials.insert_or_assign(o.name, read_material(o));
        if (same(o.type, "Mesh") && !o.name.empty()) names.meshes.insert_or_assign(o.name, &o);
    }
    for (const Object& o : objects) {
        if (same(o.type, "Mesh")) file.meshes.push_back(read_mesh(o, names));
        else if (same(o.type, "Frame")) file.frames.push_back(read_frame(o, names, 0));
        else if (same(o.type, "AnimationSet")) file.animation_sets.emplace_back(o.name);
    }
}

template <class Lexer>
void parse_with(Lexer& lex, File& file, std::size_t file_size) {
    Parser<Lexer> parser(lex);
    interpret(parser.top(), file, file_size);
}

}  // namespace

bool looks_like_x(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= 4 && std::memcmp(bytes.data(), "xof ", 4) == 0;
}

File parse(std::span<const std::uint8_t> bytes) {
    ByteReader in(bytes);
    in.expect("xof ", "not an X file: no \"xof \" signature");
    const std::string version = in.fixed_string(4);
    if (version != "0302" && version != "0303" && version != "0301")
        in.fail_at(4, "unknown X version \"" + version + "\"");
    File file;
    file.format = in.fixed_string(4);
    const std::string bits = in.fixed_string(4);
    if (bits == "0032") file.float_bits = 32;
    else if (bits == "0064") file.float_bits = 64;
    else in.fail_at(12, "float size \"" + bits + "\" is neither 0032 nor 0064");

    if (file.format == "txt " || file.format == "bin ") {
        file.format.pop_back();
        file.encoding = file.format == "txt" ? Encoding::Text : Encoding::Binary;
        if (file.encoding == Encoding::Text) {
            TextLexer lex(in);
            parse_with(lex, file, bytes.size());
        } else {
            BinaryLexer lex(in, file.float_bits);
            parse_with(lex, file, bytes.size());
        }
        return file;
    }
    if (file.format == "tzip" || file.format == "bzip") {
        file.compressed = true;
        file.encoding = file.format == "tzip" ? Encoding::Text : Encoding::Binary;
        const std::vector<std::uint8_t> body = inflate_mszip(in);
        // Offsets inside the body count from its first inflated byte.
        ByteReader inner(body);
        if (file.encoding == Encoding::Text) {
            TextLexer lex(inner);
            parse_with(lex, file, bytes.size());
        } else {
            BinaryLexer lex(inner, file.float_bits);
            parse_with(lex, file, bytes.size());
        }
        return file;
    }
    in.fail_at(8, "unknown X format \"" + file.format + "\"");
}

}  // namespace tarko::x
