// Port factory and the silent and recording ports.
#include "platform/music/midi_port.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <mutex>

namespace tarko::platform::music {

int MidiPort::allocate_channel_group() {
    const int groups = std::max(1, channels() / 16);
    return 16 * (next_group_++ % groups);
}

int RecordingPort::count(std::uint8_t command) const {
    return static_cast<int>(std::count_if(messages.begin(), messages.end(),
                                          [&](const Message& m) { return m.command == command; }));
}

std::string find_soundfont() {
    namespace fs = std::filesystem;
    std::error_code ec;
    if (const char* env = std::getenv("TARKO_SOUNDFONT"); env && *env && fs::is_regular_file(env, ec)) return env;
    const fs::path preferred = "/usr/share/sounds/sf2/FluidR3_GM.sf2";
    if (fs::is_regular_file(preferred, ec)) return preferred.string();
    for (const char* dir : {"/usr/share/sounds/sf2", "/usr/share/soundfonts", "/usr/share/sounds/sf3"}) {
        std::vector<fs::path> found;
        for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
            const auto ext = it->path().extension().string();
            if ((ext == ".sf2" || ext == ".SF2" || ext == ".sf3") && fs::is_regular_file(it->path(), ec))
                found.push_back(it->path());
        }
        std::sort(found.begin(), found.end());
        if (!found.empty()) return found.front().string();
    }
    return {};
}

namespace {
std::mutex factory_mutex;
PortFactory& factory_slot() {
    static PortFactory f;
    return f;
}
}  // namespace

PortFactory set_port_factory(PortFactory factory) {
    std::lock_guard lock(factory_mutex);
    PortFactory previous = std::move(factory_slot());
    factory_slot() = std::move(factory);
    return previous;
}

std::shared_ptr<MidiPort> make_port() {
    PortFactory f;
    {
        std::lock_guard lock(factory_mutex);
        f = factory_slot();
    }
    if (f) return f();
    // One synthesiser for every performance alive: the soundfont is loaded once.
    static std::mutex shared_mutex;
    static std::weak_ptr<MidiPort> shared;
    std::lock_guard lock(shared_mutex);
    if (auto port = shared.lock()) return port;
    auto port = open_device_port();
    shared = port;
    return port;
}

}  // namespace tarko::platform::music
