// The engine's PCX module on the images reader.
#include "engine/image_readers/pcx_reader.h"

#include "images/pcx.h"

namespace tarko::engine {

Ref<platform::gdi::StdPicture> LoadPCX(const std::string& file_name) { return images::pcx::load_file(file_name); }

}  // namespace tarko::engine
