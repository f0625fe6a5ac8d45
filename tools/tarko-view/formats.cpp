// The table of formats: one line each.
#include "view_format.h"

namespace tarko::view {

extern const ViewFormat kXFormat;
extern const ViewFormat kThreeDsFormat;
extern const ViewFormat kMdlFormat;
extern const ViewFormat kMd2Format;

std::span<const ViewFormat> formats() {
    static const ViewFormat table[] = {
        kXFormat,
        kThreeDsFormat,
        kMdlFormat,
        kMd2Format,
    };
    return table;
}

}  // namespace tarko::view
