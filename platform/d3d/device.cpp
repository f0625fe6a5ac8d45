// The device's published operations: argument checks, state, recording.
#include "platform/d3d/device.h"

#include <cmath>
#include <cstring>

#include "platform/base/dx_math.h"
#include "platform/constants.h"
#include "platform/d3d/device_state.h"
#include "platform/d3d/direct3d.h"
#include "platform/d3d/rasteriser.h"
#include "platform/profile.h"
#include "platform/status.h"
#include "platform/trace.h"

using tarko::Long;
namespace platform = tarko::platform;
namespace d3d = tarko::platform::d3d;

Direct3DDevice7::Direct3DDevice7(std::string guid, const tarko::Ref<DirectDrawSurface7>& target)
    : guid_(std::move(guid)),
      target_(target),
      state_(std::make_unique<d3d::DeviceState>()),
      rasteriser_(std::make_unique<d3d::Rasteriser>(target.checked())) {
    state_->viewport = D3DVIEWPORT7{0, 0, target->width(), target->height(), 0.0f, 1.0f};
}

Direct3DDevice7::~Direct3DDevice7() = default;

void Direct3DDevice7::clear(Long count, std::span<const D3DRECT> rects, Long flags, Long colour, float z, Long stencil) {
    platform::record("Direct3DDevice7", "clear", count, flags, colour, z, stencil);
    if (count < 0) platform::fail(platform::DDERR_INVALIDPARAMS, "clear");
    const auto n = std::min<std::size_t>(static_cast<std::size_t>(count), rects.size());
    rasteriser_->clear(*state_, rects.first(n), flags, static_cast<std::uint32_t>(colour), z);
}

void Direct3DDevice7::beginScene() {
    platform::record("Direct3DDevice7", "beginScene");
    in_scene_ = true;
}

void Direct3DDevice7::endScene() {
    platform::record("Direct3DDevice7", "endScene");
    in_scene_ = false;
    rasteriser_->flush();  // the scene's gathered draws land now
}

static void check_draw(Long primitive_type, Long vertex_type) {
    if (primitive_type < dx::D3DPT_POINTLIST || primitive_type > dx::D3DPT_TRIANGLEFAN)
        platform::fail(platform::D3DERR_INVALIDPRIMITIVETYPE, "draw");
    if (vertex_type != dx::D3DFVF_VERTEX && vertex_type != dx::D3DFVF_LVERTEX && vertex_type != dx::D3DFVF_TLVERTEX)
        platform::fail(platform::D3DERR_INVALIDVERTEXTYPE, "draw");
}

void Direct3DDevice7::drawPrimitive(Long primitive_type, Long vertex_type, std::span<const std::byte> vertices,
                                    Long vertex_count, Long flags) {
    platform::record("Direct3DDevice7", "drawPrimitive", primitive_type, vertex_type, vertex_count, flags);
    check_draw(primitive_type, vertex_type);
    const std::size_t available = vertices.size() / 32;
    const std::size_t n = vertex_count <= 0 ? 0 : std::min<std::size_t>(static_cast<std::size_t>(vertex_count), available);
    ++draw_calls_;
    rasteriser_->draw(*state_, primitive_type, vertex_type, vertices.first(n * 32), n, {});
}

void Direct3DDevice7::drawIndexedPrimitive(Long primitive_type, Long vertex_type, std::span<const std::byte> vertices,
                                           Long vertex_count, std::span<const tarko::Integer> indices,
                                           Long index_count, Long flags) {
    platform::record("Direct3DDevice7", "drawIndexedPrimitive", primitive_type, vertex_type, vertex_count,
                     index_count, flags);
    check_draw(primitive_type, vertex_type);
    const std::size_t available = vertices.size() / 32;
    const std::size_t n = vertex_count <= 0 ? 0 : std::min<std::size_t>(static_cast<std::size_t>(vertex_count), available);
    const std::size_t ni = index_count <= 0 ? 0 : std::min<std::size_t>(static_cast<std::size_t>(index_count), indices.size());
    ++draw_calls_;
    rasteriser_->draw(*state_, primitive_type, vertex_type, vertices.first(n * 32), n, indices.first(ni));
}

Long Direct3DDevice7::computeSphereVisibility(const D3DVECTOR& centre, float radius) {
    platform::record("Direct3DDevice7", "computeSphereVisibility", centre.x, centre.y, centre.z, radius);
    D3DMATRIX wv, m;
    tarko::dxmath::matrixMultiply(wv, state_->world, state_->view);
    tarko::dxmath::matrixMultiply(m, wv, state_->projection);
    // Planes in clip space: -w <= x <= w, -w <= y <= w, 0 <= z <= w.
    auto column = [&m](int c) { return std::array<double, 4>{m.at(1, c), m.at(2, c), m.at(3, c), m.at(4, c)}; };
    const auto cx = column(1), cy = column(2), cz = column(3), cw = column(4);
    std::array<std::array<double, 4>, 6> planes{};
    for (int k = 0; k < 4; ++k) {
        const auto i = static_cast<std::size_t>(k);
        planes[0][i] = cw[i] + cx[i];  // left
        planes[1][i] = cw[i] - cx[i];  // right
        planes[2][i] = cw[i] - cy[i];  // top
        planes[3][i] = cw[i] + cy[i];  // bottom
        planes[4][i] = cz[i];          // front
        planes[5][i] = cw[i] - cz[i];  // back
    }
    Long status = 0;
    for (std::size_t p = 0; p < planes.size(); ++p) {
        const auto& pl = planes[p];
        const double len = std::sqrt(pl[0] * pl[0] + pl[1] * pl[1] + pl[2] * pl[2]);
        if (len == 0 || !std::isfinite(len)) continue;
        const double d = (pl[0] * centre.x + pl[1] * centre.y + pl[2] * centre.z + pl[3]) / len;
        if (d < radius) status |= static_cast<Long>(1u << p);            // crosses or outside
        if (d < -radius) status |= static_cast<Long>(0x1000u << p);      // wholly outside
    }
    return status;
}

static void check_render_state(Long state) {
    if (state < 0 || state >= Direct3DDevice7::kRenderStateCount)
        platform::fail(platform::DDERR_INVALIDPARAMS, "render state");
}

void Direct3DDevice7::setRenderState(Long state, Long value) {
    platform::record("Direct3DDevice7", "setRenderState", state, value);
    check_render_state(state);
    state_->render[static_cast<std::size_t>(state)] = value;
}

void Direct3DDevice7::setRenderStateSingle(Long state, float value) {
    platform::record("Direct3DDevice7", "setRenderStateSingle", state, value);
    check_render_state(state);
    Long bits;
    std::memcpy(&bits, &value, sizeof bits);
    state_->render[static_cast<std::size_t>(state)] = bits;
}

Long Direct3DDevice7::getRenderState(Long state) const {
    check_render_state(state);
    return state_->render[static_cast<std::size_t>(state)];
}

float Direct3DDevice7::getRenderStateSingle(Long state) const {
    check_render_state(state);
    return state_->render_single(state);
}

static void check_stage(Long stage, Long type) {
    if (stage < 0 || stage >= Direct3DDevice7::kMaxStages || type < 0 || type >= Direct3DDevice7::kStageStateCount)
        platform::fail(platform::DDERR_INVALIDPARAMS, "texture stage state");
}

void Direct3DDevice7::setTextureStageState(Long stage, Long type, Long value) {
    platform::record("Direct3DDevice7", "setTextureStageState", stage, type, value);
    check_stage(stage, type);
    state_->stage[static_cast<std::size_t>(stage)][static_cast<std::size_t>(type)] = value;
}

Long Direct3DDevice7::getTextureStageState(Long stage, Long type) const {
    check_stage(stage, type);
    return state_->stage[static_cast<std::size_t>(stage)][static_cast<std::size_t>(type)];
}

void Direct3DDevice7::setTexture(Long stage, const tarko::Ref<DirectDrawSurface7>& texture) {
    platform::record("Direct3DDevice7", "setTexture", stage, texture ? "surface" : "Nothing");
    check_stage(stage, 0);
    state_->textures[static_cast<std::size_t>(stage)] = texture;
}

tarko::Ref<DirectDrawSurface7> Direct3DDevice7::getTexture(Long stage) const {
    check_stage(stage, 0);
    return state_->textures[static_cast<std::size_t>(stage)];
}

static D3DMATRIX* transform_slot(d3d::DeviceState& s, Long type) {
    switch (type) {
    case dx::D3DTRANSFORMSTATE_WORLD: return &s.world;
    case dx::D3DTRANSFORMSTATE_VIEW: return &s.view;
    case dx::D3DTRANSFORMSTATE_PROJECTION: return &s.projection;
    default: platform::fail(platform::DDERR_INVALIDPARAMS, "transform type");
    }
}

void Direct3DDevice7::setTransform(Long type, const D3DMATRIX& m) {
    platform::record("Direct3DDevice7", "setTransform", type, m.rc11, m.rc12, m.rc13, m.rc14, m.rc21, m.rc22, m.rc23,
                     m.rc24, m.rc31, m.rc32, m.rc33, m.rc34, m.rc41, m.rc42, m.rc43, m.rc44);
    *transform_slot(*state_, type) = m;
}

void Direct3DDevice7::getTransform(Long type, D3DMATRIX& m) const { m = *transform_slot(*state_, type); }

void Direct3DDevice7::setViewport(const D3DVIEWPORT7& viewport) {
    platform::record("Direct3DDevice7", "setViewport", viewport.lX, viewport.lY, viewport.lWidth, viewport.lHeight,
                     viewport.minz, viewport.maxz);
    if (viewport.lWidth <= 0 || viewport.lHeight <= 0 || viewport.lX < 0 || viewport.lY < 0 ||
        viewport.lX + viewport.lWidth > target_->width() || viewport.lY + viewport.lHeight > target_->height())
        platform::fail(platform::DDERR_INVALIDPARAMS, "setViewport");
    state_->viewport = viewport;
}

void Direct3DDevice7::getViewport(D3DVIEWPORT7& viewport) const { viewport = state_->viewport; }

void Direct3DDevice7::setMaterial(const D3DMATERIAL7& material) {
    platform::record("Direct3DDevice7", "setMaterial", material.diffuse.r, material.diffuse.g, material.diffuse.b,
                     material.diffuse.a, material.ambient.r, material.ambient.g, material.ambient.b,
                     material.ambient.a, material.specular.r, material.specular.g, material.specular.b,
                     material.specular.a, material.emissive.r, material.emissive.g, material.emissive.b,
                     material.emissive.a, material.power);
    state_->material = material;
}

void Direct3DDevice7::getMaterial(D3DMATERIAL7& material) const { material = state_->material; }

void Direct3DDevice7::setLight(Long index, const D3DLIGHT7& light) {
    platform::record("Direct3DDevice7", "setLight", index, light.dltType, light.position.x, light.position.y,
                     light.position.z, light.direction.x, light.direction.y, light.direction.z, light.range);
    if (index < 0) platform::fail(platform::DDERR_INVALIDPARAMS, "setLight");
    if (light.dltType < D3DLIGHT_POINT || light.dltType > D3DLIGHT_DIRECTIONAL)
        platform::fail(platform::DDERR_INVALIDPARAMS, "setLight type");
    state_->lights[index].light = light;
}

void Direct3DDevice7::getLight(Long index, D3DLIGHT7& light) const {
    const auto it = state_->lights.find(index);
    if (it == state_->lights.end()) platform::fail(platform::DDERR_INVALIDPARAMS, "getLight");
    light = it->second.light;
}

void Direct3DDevice7::lightEnable(Long index, bool enable) {
    platform::record("Direct3DDevice7", "lightEnable", index, enable);
    if (index < 0) platform::fail(platform::DDERR_INVALIDPARAMS, "lightEnable");
    auto& slot = state_->lights[index];  // enabling an unset slot gives a default directional light
    if (slot.light.dltType == 0) {
        slot.light.dltType = D3DLIGHT_DIRECTIONAL;
        slot.light.diffuse = D3DCOLORVALUE{1, 1, 1, 0};
        slot.light.direction = D3DVECTOR{0, 0, 1};
    }
    slot.enabled = enable;
}

bool Direct3DDevice7::getLightEnable(Long index) const {
    const auto it = state_->lights.find(index);
    return it != state_->lights.end() && it->second.enabled;
}

void Direct3DDevice7::getCaps(D3DDEVICEDESC7& desc) const {
    platform::record("Direct3DDevice7", "getCaps");
    const auto* info = platform::profile().device(guid_);
    desc = info ? info->caps : D3DDEVICEDESC7{};
}

tarko::Ref<Direct3DEnumPixelFormats> Direct3DDevice7::getTextureFormatsEnum() const {
    platform::record("Direct3DDevice7", "getTextureFormatsEnum");
    const auto* info = platform::profile().device(guid_);
    return tarko::Ref<Direct3DEnumPixelFormats>(
        std::make_shared<Direct3DEnumPixelFormats>(info ? info->texture_formats : std::vector<DDPIXELFORMAT>{}));
}

void Direct3DDevice7::set_thread_count(int threads) { rasteriser_->set_threads(threads); }
void Direct3DDevice7::set_batching(bool on) { rasteriser_->set_batching(on); }
void Direct3DDevice7::set_fast_paths(bool on) { rasteriser_->set_fast_paths(on); }
void Direct3DDevice7::set_pixel_routines(PixelRoutines kind) {
    rasteriser_->set_pixel_routines(kind == PixelRoutines::Portable    ? d3d::Routines::Portable
                                    : kind == PixelRoutines::FourLanes  ? d3d::Routines::FourLanes
                                    : kind == PixelRoutines::EightLanes ? d3d::Routines::EightLanes
                                                                        : d3d::Routines::Best);
}
