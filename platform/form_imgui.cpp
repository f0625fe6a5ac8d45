// Forms drawn with Dear ImGui: the widgets are laid out where the form's view
// puts them, and ImGui's triangles go through our software device as
// pre-transformed (screen-space) vertices, its font atlas and the form's
// pictures as textures. Input comes from the form window's SDL events.
#include <SDL.h>
#include <imgui.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "platform/constants.h"
#include "platform/d3d/device.h"
#include "platform/ddraw.h"
#include "platform/form.h"
#include "platform/pixel_format.h"
#include "platform/profile.h"
#include "platform/status.h"
#include "platform/trace.h"
#include "platform/window.h"

namespace tarko::platform {
namespace {

constexpr std::intptr_t kFontTexture = 1;
constexpr std::intptr_t kFirstPictureTexture = 2;
constexpr float kFontSize = 13;  // ImGui's built-in font: a 21-pixel combo with 4 pixels of padding

ImVec4 rgb(int r, int g, int b) { return ImVec4(r / 255.0f, g / 255.0f, b / 255.0f, 1.0f); }

// The grey look of the desktop of the time: buttons and window in grey, lists
// in white, black text, grey frame lines.
void set_form_style() {
    ImGuiStyle& s = ImGui::GetStyle();
    s = ImGuiStyle();
    s.WindowPadding = ImVec2(0, 0);
    s.WindowRounding = s.FrameRounding = s.PopupRounding = s.GrabRounding = 0;
    s.WindowBorderSize = 0;
    s.FrameBorderSize = 1;
    s.PopupBorderSize = 1;
    s.FramePadding = ImVec2(4, 4);
    s.ItemInnerSpacing = ImVec2(4, 4);
    s.DisabledAlpha = 0.5f;
    ImVec4* c = s.Colors;
    c[ImGuiCol_Text] = rgb(0, 0, 0);
    c[ImGuiCol_TextDisabled] = rgb(128, 128, 128);
    c[ImGuiCol_WindowBg] = c[ImGuiCol_PopupBg] = c[ImGuiCol_ChildBg] = rgb(212, 208, 200);
    c[ImGuiCol_Border] = rgb(128, 128, 128);
    c[ImGuiCol_BorderShadow] = ImVec4(0, 0, 0, 0);
    c[ImGuiCol_FrameBg] = rgb(255, 255, 255);
    c[ImGuiCol_FrameBgHovered] = rgb(240, 246, 255);
    c[ImGuiCol_FrameBgActive] = rgb(225, 236, 250);
    c[ImGuiCol_Button] = rgb(228, 226, 220);
    c[ImGuiCol_ButtonHovered] = rgb(238, 236, 230);
    c[ImGuiCol_ButtonActive] = rgb(200, 198, 192);
    c[ImGuiCol_Header] = c[ImGuiCol_HeaderActive] = rgb(10, 36, 106);
    c[ImGuiCol_HeaderHovered] = rgb(49, 106, 197);
    c[ImGuiCol_CheckMark] = rgb(0, 0, 0);
    c[ImGuiCol_NavHighlight] = rgb(0, 0, 0);
    c[ImGuiCol_ScrollbarBg] = rgb(212, 208, 200);
}

// Our trace records the engine's calls on the platform; the form's own
// drawing is not part of that traffic.
class QuietTrace {
public:
    QuietTrace() : was_(trace().enabled()) { trace().enable(false); }
    ~QuietTrace() { trace().enable(was_); }
    QuietTrace(const QuietTrace&) = delete;
    QuietTrace& operator=(const QuietTrace&) = delete;

private:
    bool was_;
};

tarko::Ref<DirectDrawSurface7> make_texture(DirectDraw7& draw, int width, int height,
                                            const std::uint32_t* argb_pixels) {
    DDSURFACEDESC2 desc;
    desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
    desc.ddsCaps.lCaps = dx::DDSCAPS_TEXTURE;
    desc.lWidth = width;
    desc.lHeight = height;
    desc.ddpfPixelFormat = PixelFormat::a8r8g8b8().dd();
    auto texture = draw.createSurface(desc);
    const PixelFormat format = PixelFormat::a8r8g8b8();
    texture->lock(RECT{}, desc, 0, 0);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            texture->setLockedPixel(x, y, static_cast<Long>(format.from_argb(argb_pixels[y * width + x])));
    texture->unlock(RECT{});
    return texture;
}

// One ImGui context drawing into a surface of our software device.
class FormPainter {
public:
    FormPainter(int width, int height) : width_(width), height_(height) {
        if (width <= 0 || height <= 0 || width > 4096 || height > 4096) fail(DDERR_INVALIDPARAMS, "form size");
        context_ = ImGui::CreateContext();
        ImGuiIO& io = ImGui::GetIO();
        io.IniFilename = nullptr;
        io.LogFilename = nullptr;
        io.DisplaySize = ImVec2(static_cast<float>(width), static_cast<float>(height));
        io.DeltaTime = 1.0f / 60.0f;
        io.ConfigFlags |= ImGuiConfigFlags_NavEnableKeyboard;
        io.KeyMap[ImGuiKey_Tab] = SDL_SCANCODE_TAB;
        io.KeyMap[ImGuiKey_LeftArrow] = SDL_SCANCODE_LEFT;
        io.KeyMap[ImGuiKey_RightArrow] = SDL_SCANCODE_RIGHT;
        io.KeyMap[ImGuiKey_UpArrow] = SDL_SCANCODE_UP;
        io.KeyMap[ImGuiKey_DownArrow] = SDL_SCANCODE_DOWN;
        io.KeyMap[ImGuiKey_Space] = SDL_SCANCODE_SPACE;
        io.KeyMap[ImGuiKey_Enter] = SDL_SCANCODE_RETURN;
        io.KeyMap[ImGuiKey_Escape] = SDL_SCANCODE_ESCAPE;
        ImFontConfig font;
        font.SizePixels = kFontSize;
        font.OversampleH = font.OversampleV = 1;  // the bitmap font as drawn: crisp, on whole pixels
        font.PixelSnapH = true;
        io.Fonts->AddFontDefault(&font);
        set_form_style();

        QuietTrace quiet;
        draw_ = std::make_shared<DirectDraw7>("");
        DDSURFACEDESC2 desc;
        desc.lFlags = dx::DDSD_CAPS | dx::DDSD_WIDTH | dx::DDSD_HEIGHT | dx::DDSD_PIXELFORMAT;
        desc.ddsCaps.lCaps = dx::DDSCAPS_OFFSCREENPLAIN | dx::DDSCAPS_3DDEVICE;
        desc.lWidth = width;
        desc.lHeight = height;
        desc.ddpfPixelFormat = PixelFormat::x8r8g8b8().dd();
        target_ = draw_->createSurface(desc);
        device_ = std::make_unique<Direct3DDevice7>(kRgbGuid, target_);
        device_->set_thread_count(1);  // a small picture: threads would cost more than they save

        unsigned char* pixels = nullptr;
        int w = 0, h = 0;
        io.Fonts->GetTexDataAsRGBA32(&pixels, &w, &h);
        std::vector<std::uint32_t> argb(static_cast<std::size_t>(w) * static_cast<std::size_t>(h));
        for (std::size_t i = 0; i < argb.size(); ++i) {
            const unsigned char* p = pixels + 4 * i;
            argb[i] = (std::uint32_t{p[3]} << 24) | (std::uint32_t{p[0]} << 16) | (std::uint32_t{p[1]} << 8) | p[2];
        }
        textures_[kFontTexture] = make_texture(*draw_, w, h, argb.data());
        io.Fonts->SetTexID(reinterpret_cast<ImTextureID>(kFontTexture));
    }
    ~FormPainter() { ImGui::DestroyContext(context_); }
    FormPainter(const FormPainter&) = delete;
    FormPainter& operator=(const FormPainter&) = delete;

    // Lays the form out, collects what the user did this frame and draws it.
    Frame paint(const FormView& view, std::vector<FormAction>& actions) {
        ImGui::NewFrame();
        lay_out(view, actions);
        ImGui::Render();
        QuietTrace quiet;
        draw(*ImGui::GetDrawData());
        return target_->to_frame();
    }

private:
    ImTextureID picture_texture(const Image& picture) {
        auto found = pictures_.find(&picture);
        if (found != pictures_.end()) return reinterpret_cast<ImTextureID>(found->second);
        const std::intptr_t id = kFirstPictureTexture + static_cast<std::intptr_t>(pictures_.size());
        QuietTrace quiet;
        textures_[id] = make_texture(*draw_, picture.width, picture.height, picture.pixels.data());
        pictures_[&picture] = id;
        return reinterpret_cast<ImTextureID>(id);
    }

    void lay_out(const FormView& view, std::vector<FormAction>& actions) {
        ImGui::SetNextWindowPos(ImVec2(0, 0));
        ImGui::SetNextWindowSize(ImVec2(static_cast<float>(view.width), static_cast<float>(view.height)));
        const ImGuiWindowFlags flags = ImGuiWindowFlags_NoDecoration | ImGuiWindowFlags_NoMove |
                                       ImGuiWindowFlags_NoSavedSettings | ImGuiWindowFlags_NoBringToFrontOnFocus;
        ImGui::Begin("##form", nullptr, flags);
        ImDrawList* list = ImGui::GetWindowDrawList();
        const ImU32 background = ImGui::GetColorU32(ImGuiCol_WindowBg);
        for (const FormControl& c : view.controls) {
            const ImVec2 at(static_cast<float>(c.left), static_cast<float>(c.top));
            const ImVec2 size(static_cast<float>(c.width), static_cast<float>(c.height));
            ImGui::PushID(c.name.c_str());
            ImGui::BeginDisabled(!c.enabled);
            ImGui::SetCursorPos(at);
            switch (c.kind) {
            case ControlKind::Button:
                if (ImGui::Button(c.text.c_str(), size)) actions.push_back({FormActionKind::Click, c.name});
                break;
            case ControlKind::CheckBox: {
                // The box is as high as the control: padding around the font's 13 pixels.
                ImGui::PushStyleVar(ImGuiStyleVar_FramePadding, ImVec2(4, (size.y - kFontSize) / 2));
                bool ticked = c.checked;
                if (ImGui::Checkbox(c.text.c_str(), &ticked)) actions.push_back({FormActionKind::Tick, c.name});
                ImGui::PopStyleVar();
                break;
            }
            case ControlKind::Frame: {
                // A group box: the line runs at half the caption's height,
                // the caption sits on it over the window's grey.
                const float line = at.y + kFontSize / 2;
                // ImGui strokes both corners' pixels: the last column and row are width - 1 and height - 1 on.
                list->AddRect(ImVec2(at.x, line), ImVec2(at.x + size.x - 1, at.y + size.y - 1),
                              ImGui::GetColorU32(ImGuiCol_Border));
                const ImVec2 text = ImGui::CalcTextSize(c.text.c_str());
                list->AddRectFilled(ImVec2(at.x + 6, at.y), ImVec2(at.x + 10 + text.x, at.y + text.y), background);
                list->AddText(ImVec2(at.x + 8, at.y), ImGui::GetColorU32(ImGuiCol_Text), c.text.c_str());
                break;
            }
            case ControlKind::ComboBox: {
                ImGui::SetNextItemWidth(size.x);
                const bool selected = c.list_index >= 0 && c.list_index < static_cast<int>(c.items.size());
                const char* preview = selected ? c.items[static_cast<std::size_t>(c.list_index)].c_str() : c.text.c_str();
                if (ImGui::BeginCombo("##list", preview)) {
                    for (std::size_t i = 0; i < c.items.size(); ++i) {
                        ImGui::PushID(static_cast<int>(i));
                        if (ImGui::Selectable(c.items[i].c_str(), static_cast<int>(i) == c.list_index))
                            actions.push_back({FormActionKind::Select, c.name, static_cast<int>(i)});
                        ImGui::PopID();
                    }
                    ImGui::EndCombo();
                }
                break;
            }
            case ControlKind::Picture:
                if (c.picture && !c.picture->empty()) ImGui::Image(picture_texture(*c.picture), size);
                break;
            }
            ImGui::EndDisabled();
            ImGui::PopID();
        }
        ImGui::End();
    }

    // ImGui's lists as triangle lists of pre-transformed vertices, alpha
    // blended, texture times vertex colour. Clip rectangles are not applied:
    // nothing in a form scrolls, and whole commands outside the target are
    // dropped.
    void draw(const ImDrawData& data) {
        Direct3DDevice7& d = *device_;
        const D3DRECT whole{0, 0, width_, height_};
        d.clear(1, std::span<const D3DRECT>(&whole, 1), dx::D3DCLEAR_TARGET,
                static_cast<Long>(0xFF000000u | 0xD4D0C8u), 1.0f, 0);
        d.setRenderState(dx::D3DRENDERSTATE_ZENABLE, 0);
        d.setRenderState(dx::D3DRENDERSTATE_CULLMODE, dx::D3DCULL_NONE);
        d.setRenderState(dx::D3DRENDERSTATE_ALPHABLENDENABLE, 1);
        d.setRenderState(dx::D3DRENDERSTATE_SRCBLEND, dx::D3DBLEND_SRCALPHA);
        d.setRenderState(dx::D3DRENDERSTATE_DESTBLEND, dx::D3DBLEND_INVSRCALPHA);
        d.setTextureStageState(0, dx::D3DTSS_COLOROP, dx::D3DTOP_MODULATE);
        d.setTextureStageState(0, dx::D3DTSS_COLORARG1, dx::D3DTA_TEXTURE);
        d.setTextureStageState(0, dx::D3DTSS_COLORARG2, dx::D3DTA_DIFFUSE);
        d.setTextureStageState(0, dx::D3DTSS_ALPHAOP, dx::D3DTOP_MODULATE);
        d.setTextureStageState(0, dx::D3DTSS_ALPHAARG1, dx::D3DTA_TEXTURE);
        d.setTextureStageState(0, dx::D3DTSS_ALPHAARG2, dx::D3DTA_DIFFUSE);
        d.setTextureStageState(0, dx::D3DTSS_MINFILTER, dx::D3DTFN_POINT);
        d.setTextureStageState(0, dx::D3DTSS_MAGFILTER, dx::D3DTFG_POINT);
        d.beginScene();
        std::vector<D3DTLVERTEX> vertices;
        std::vector<Integer> indices;
        for (int n = 0; n < data.CmdListsCount; ++n) {
            const ImDrawList& list = *data.CmdLists[n];
            if (list.VtxBuffer.Size > 32767) continue;  // 16-bit signed indices; a form never comes near
            vertices.resize(static_cast<std::size_t>(list.VtxBuffer.Size));
            for (int i = 0; i < list.VtxBuffer.Size; ++i) {
                const ImDrawVert& v = list.VtxBuffer[i];
                // ImGui packs A, B, G, R from the top byte; the device wants A, R, G, B.
                const std::uint32_t c = v.col;
                const std::uint32_t argb = (c & 0xFF00FF00u) | ((c & 0xFFu) << 16) | ((c >> 16) & 0xFFu);
                auto& out = vertices[static_cast<std::size_t>(i)];
                out.sx = v.pos.x;
                out.sy = v.pos.y;
                out.sz = 0;
                out.rhw = 1;
                out.color = static_cast<std::int32_t>(argb);
                out.specular = 0;
                out.tu = v.uv.x;
                out.tv = v.uv.y;
            }
            for (const ImDrawCmd& cmd : list.CmdBuffer) {
                if (cmd.UserCallback || cmd.ElemCount == 0) continue;
                if (cmd.ClipRect.z <= 0 || cmd.ClipRect.w <= 0 || cmd.ClipRect.x >= width_ || cmd.ClipRect.y >= height_)
                    continue;
                const auto found = textures_.find(reinterpret_cast<std::intptr_t>(cmd.TextureId));
                d.setTexture(0, found != textures_.end() ? found->second : tarko::Ref<DirectDrawSurface7>());
                indices.resize(cmd.ElemCount);
                for (unsigned i = 0; i < cmd.ElemCount; ++i)
                    indices[i] = static_cast<Integer>(list.IdxBuffer[static_cast<int>(cmd.IdxOffset + i)] + cmd.VtxOffset);
                d.drawIndexedPrimitive(dx::D3DPT_TRIANGLELIST, dx::D3DFVF_TLVERTEX, std::as_bytes(std::span(vertices)),
                                       static_cast<Long>(vertices.size()), std::span<const Integer>(indices),
                                       static_cast<Long>(indices.size()), 0);
            }
        }
        d.endScene();
        d.setTexture(0, {});
    }

    int width_, height_;
    ImGuiContext* context_ = nullptr;
    std::shared_ptr<DirectDraw7> draw_;
    tarko::Ref<DirectDrawSurface7> target_;
    std::unique_ptr<Direct3DDevice7> device_;
    std::map<std::intptr_t, tarko::Ref<DirectDrawSurface7>> textures_;
    std::map<const Image*, std::intptr_t> pictures_;
};

// Feeds one SDL event of the form window to ImGui; true when it asks to close.
bool feed(const SDL_Event& e, std::uint32_t window_id) {
    ImGuiIO& io = ImGui::GetIO();
    switch (e.type) {
    case SDL_QUIT: return true;
    case SDL_WINDOWEVENT:
        return e.window.windowID == window_id && e.window.event == SDL_WINDOWEVENT_CLOSE;
    case SDL_MOUSEMOTION:
        if (e.motion.windowID == window_id) io.MousePos = ImVec2(static_cast<float>(e.motion.x), static_cast<float>(e.motion.y));
        return false;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: {
        if (e.button.windowID != window_id) return false;
        const int b = e.button.button == SDL_BUTTON_LEFT ? 0 : e.button.button == SDL_BUTTON_RIGHT ? 1 : 2;
        io.MousePos = ImVec2(static_cast<float>(e.button.x), static_cast<float>(e.button.y));
        io.MouseDown[b] = e.type == SDL_MOUSEBUTTONDOWN;
        return false;
    }
    case SDL_MOUSEWHEEL: io.MouseWheel += static_cast<float>(e.wheel.y); return false;
    case SDL_KEYDOWN:
    case SDL_KEYUP: {
        const int code = e.key.keysym.scancode;
        if (code >= 0 && code < static_cast<int>(IM_ARRAYSIZE(io.KeysDown))) io.KeysDown[code] = e.type == SDL_KEYDOWN;
        io.KeyShift = (e.key.keysym.mod & KMOD_SHIFT) != 0;
        // Escape closes the form unless a list is open (ImGui closes that).
        return e.type == SDL_KEYDOWN && code == SDL_SCANCODE_ESCAPE && !ImGui::IsPopupOpen("", ImGuiPopupFlags_AnyPopup);
    }
    default: return false;
    }
}

}  // namespace

Frame render_form(const FormView& view) {
    FormPainter painter(view.width, view.height);
    std::vector<FormAction> ignored;
    painter.paint(view, ignored);  // the first frame settles the window's size and places
    return painter.paint(view, ignored);
}

void run_form_window(Long hwnd, FormHost& host, const std::vector<FormAction>& script,
                     const std::string& snapshot_png) {
    const auto window = windows().get(hwnd);
    FormView view = host.view();
    FormPainter painter(view.width, view.height);
    const std::uint32_t id = window->system_id();
    std::size_t next = 0;
    int frames = 0;
    while (host.is_shown()) {
        std::vector<FormAction> actions;
        SDL_Event e;
        while (SDL_PollEvent(&e))
            if (feed(e, id)) actions.push_back({FormActionKind::Close, {}});
        view = host.view();
        const Frame frame = painter.paint(view, actions);
        window->present(frame, 0, 0);
        ++frames;
        // Unattended runs: the picture once the layout has settled, then one
        // scripted action a frame.
        if (frames == 2 && !snapshot_png.empty() && !write_png(frame, snapshot_png))
            fail(DDERR_GENERIC, "cannot write " + snapshot_png);
        if (frames > 2 && next < script.size()) actions.push_back(script[next++]);
        for (const FormAction& a : actions) {
            if (!host.is_shown()) break;
            host.act(a);
        }
        SDL_Delay(15);
    }
}

}  // namespace tarko::platform
