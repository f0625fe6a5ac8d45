// The clipboard: in-process, holding one bitmap (CF_BITMAP) at a time.
#include "platform/gdi/gdi.h"
#include "platform/gdi/registry.h"

namespace tarko::platform::gdi {
using namespace detail;

bool OpenClipboard(HWND) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (r.clipboard_open || r.should_fail(testing::Call::OpenClipboard)) return false;
    r.clipboard_open = true;
    return true;
}

bool EmptyClipboard() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (!r.clipboard_open) return false;
    if (r.clipboard) {
        const Long old = r.clipboard;
        r.clipboard = 0;
        DeleteObject(old);
    }
    return true;
}

Long SetClipboardData(Long format, Long handle) {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    if (!r.clipboard_open || format != CF_BITMAP || !r.get<Bitmap>(handle)) return 0;
    if (r.clipboard && r.clipboard != handle) DeleteObject(r.clipboard);
    r.clipboard = handle;
    return handle;
}

bool CloseClipboard() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    const bool was_open = r.clipboard_open;
    r.clipboard_open = false;
    return was_open;
}

namespace testing {

Long clipboard_bitmap() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    return r.clipboard;
}

void reset() {
    auto& r = reg();
    std::lock_guard lock(r.mutex);
    r.failures.clear();
    r.clipboard_open = false;
    if (r.clipboard) {
        const Long old = r.clipboard;
        r.clipboard = 0;
        DeleteObject(old);
    }
}

}  // namespace testing
}  // namespace tarko::platform::gdi
