#include "pmt3d/mirror/open_pictures.h"

namespace pmt3d {

void open_pictures::open_surface(const libgr::texture_options& options) {
    libgr::texture_t& texture = surfaces.emplace_back();
    static_cast<libgr::texture_options&>(texture) = options;
    texture.open(model_file_);
}

bool open_pictures::open_environment(const libgr::environment_options& options) {
    static_cast<libgr::environment_options&>(environment) = options;
    return environment.initex(model_file_);
}

} // namespace pmt3d
