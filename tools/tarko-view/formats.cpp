// The table of formats: one line each.
#include "view_format.h"

namespace tarko::view {

extern const ViewFormat kXFormat;

std::span<const ViewFormat> formats() {
    static const ViewFormat table[] = {
        kXFormat,
    };
    return table;
}

}  // namespace tarko::view
