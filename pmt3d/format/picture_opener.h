#pragma once
// The interface through which a load opens the pictures that a model names.

#include "libgr/options/options.h"

#include <string>

namespace pmt3d {

// Called in the order of the file, as soon as a surface or the environment is complete.
class picture_opener {
public:
    virtual ~picture_opener() = default;
    // The model file that is being loaded; picture names are relative to its directory.
    virtual void begin(const std::string& model_file) = 0;
    virtual void open_surface(const libgr::texture_options& options) = 0;
    // False when the model cannot be shown without them.
    virtual bool open_environment(const libgr::environment_options& options) = 0;
};

} // namespace pmt3d
