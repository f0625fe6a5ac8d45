// A recording of the calls the engine makes on the platform objects, in order.
// Off unless a test turns it on; each entry reads "Object.method arg, arg".
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tarko::platform {

class CallTrace {
public:
    bool enabled() const { return enabled_; }
    void enable(bool on) { enabled_ = on; }
    void clear() { entries_.clear(); }
    const std::vector<std::string>& entries() const { return entries_; }
    void add(std::string entry) { if (enabled_) entries_.push_back(std::move(entry)); }

    // Entries that start with `prefix`, in order.
    std::vector<std::string> matching(std::string_view prefix) const;
    // Index of the first entry starting with `prefix` at or after `from` (from the
    // start when `from` is negative), or -1.
    int find(std::string_view prefix, int from = 0) const;

private:
    bool enabled_ = false;
    std::vector<std::string> entries_;
};

CallTrace& trace();

// Formats one argument for an entry.
std::string trace_arg(long long v);
std::string trace_arg(double v);
std::string trace_arg(const std::string& v);
inline std::string trace_arg(const char* v) { return trace_arg(std::string(v)); }
inline std::string trace_arg(int v) { return trace_arg(static_cast<long long>(v)); }
inline std::string trace_arg(long v) { return trace_arg(static_cast<long long>(v)); }
inline std::string trace_arg(float v) { return trace_arg(static_cast<double>(v)); }
inline std::string trace_arg(bool v) { return v ? "True" : "False"; }

// Records "object.method a, b, c" when the trace is on.
template <class... Args>
void record(std::string_view object, std::string_view method, const Args&... args) {
    auto& t = trace();
    if (!t.enabled()) return;
    std::string entry;
    entry.append(object).append(".").append(method);
    bool first = true;
    ((entry.append(first ? " " : ", ").append(trace_arg(args)), first = false), ...);
    t.add(std::move(entry));
}

// Turns the trace on for a test and clears it before and after.
class ScopedTrace {
public:
    ScopedTrace() { trace().clear(); trace().enable(true); }
    ~ScopedTrace() { trace().enable(false); trace().clear(); }
    const std::vector<std::string>& entries() const { return trace().entries(); }
};

}  // namespace tarko::platform
