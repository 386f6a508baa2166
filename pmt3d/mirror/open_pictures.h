#pragma once
// Opens the pictures of a model that is being loaded.

#include "libgr/texture/environment.h"
#include "libgr/texture/surface_texture.h"
#include "pmt3d/format/picture_opener.h"

#include <deque>
#include <string>

namespace pmt3d {

// Keeps them open. A surface's picture that cannot be loaded is reported and omitted; a missing face of the
// cube map ends the load.
class open_pictures : public picture_opener {
public:
    void begin(const std::string& model_file) override { model_file_ = model_file; }
    void open_surface(const libgr::texture_options& options) override;
    bool open_environment(const libgr::environment_options& options) override;

    std::deque<libgr::texture_t> surfaces; // of the surfaces that have been loaded, in their order
    libgr::environment_t environment;

private:
    std::string model_file_;
};

} // namespace pmt3d
