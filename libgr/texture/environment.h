#pragma once
// The environment that the scene reflects and refracts.

#include "libgr/options/options.h"
#include "render/surface/appearance.h"

#include <memory>
#include <string>

namespace libgr {

class texture_table;
struct cube_record;

// The options and the opened cube map. A plain value: a copy has the same options and shares the cube map.
// Shares the texture table with texture_t, see there.
class environment_t : public environment_options, public render::surroundings {
public:
    // Finds or loads the six faces: the name with _posx, _negx, _posy, _negy, _posz, _negz in front of its
    // extension, in that order, each upright as the usual cube map tools write it (its top row is the top of
    // the side faces). name: the model file, which relative names start from. Without a cube map name: six
    // plain faces like a soft studio light, grey and brightest above. False, after a line on standard error,
    // when a face cannot be loaded or is no square of the first one's size; the environment then stays as it
    // was. With a context the faces are uploaded now, otherwise at the first bind.
    bool initex(const std::string& name);

    bool has_cube() override;
    void bind_cube() override;
    void unbind_cube() override;
    float reflect_alpha() override { return reflectalpha; }
    float refract_alpha() override { return refractalpha; }
    float refract_factor() override { return refractfactor; }

private:
    std::shared_ptr<texture_table> table_;
    std::shared_ptr<cube_record> cube_;
};

} // namespace libgr
