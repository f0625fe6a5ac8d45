// The process-wide call recording.
#include "platform/trace.h"

#include <algorithm>
#include <cstdio>

#include "platform/status.h"
#include "runtime/errors.h"

namespace tarko::platform {

CallTrace& trace() {
    static CallTrace instance;
    return instance;
}

std::vector<std::string> CallTrace::matching(std::string_view prefix) const {
    std::vector<std::string> out;
    for (const auto& e : entries_)
        if (std::string_view(e).substr(0, prefix.size()) == prefix) out.push_back(e);
    return out;
}

int CallTrace::find(std::string_view prefix, int from) const {
    for (int i = std::max(from, 0); i < static_cast<int>(entries_.size()); ++i)
        if (std::string_view(entries_[static_cast<std::size_t>(i)]).substr(0, prefix.size()) == prefix) return i;
    return -1;
}

std::string trace_arg(long long v) { return std::to_string(v); }

std::string trace_arg(double v) {
    char buf[32];
    std::snprintf(buf, sizeof buf, "%g", v);
    return buf;
}

std::string trace_arg(const std::string& v) { return "\"" + v + "\""; }

void fail(Status status, const std::string& where) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "%08X", static_cast<unsigned>(status));
    raise_error(status, where + " failed (status 0x" + buf + ")");
}

}  // namespace tarko::platform
