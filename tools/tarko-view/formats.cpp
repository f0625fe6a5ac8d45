// The table of formats: one line each.
#include "view_format.h"

namespace tarko::view {

extern const ViewFormat kXFormat;
extern const ViewFormat kThreeDsFormat;
extern const ViewFormat kMdlFormat;

std::span<const ViewFormat> formats() {
    static const ViewFormat table[] = {
        kXFormat,
        kThreeDsFormat,
        kMdlFormat,
    };
    return table;
}

}  // namespace tarko::view
