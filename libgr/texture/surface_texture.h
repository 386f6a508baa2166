#pragma once
// The textures of one surface: colour, bump and specular.

#include "libgr/options/options.h"
#include "render/surface/appearance.h"

#include <array>
#include <memory>
#include <string>

namespace libgr {

class texture_table;
struct texture_record;

// The options and the opened pictures. A plain value: a copy has the same options and shares the pictures.
//
// Pictures come from the texture table, which all texture_t and environment_t share that exist at a time: a
// file named by many surfaces, in whatever spelling, is decoded and derived once and is one GL texture. The
// table and its GL textures go with the last texture_t and environment_t that has been opened; let that be
// while the context exists.
class texture_t : public texture_options, public render::appearance {
public:
    // Finds or loads the three pictures, derives what the shaders need from the bump picture, and sets
    // filters and offsets by the options. name: the model file; names that do not begin with "/" (or a drive
    // letter, or two backslashes) are relative to its directory. A picture that cannot be loaded is
    // reported on standard error, and its unit stays as it was. With a context the pictures are uploaded now,
    // otherwise at the first bind.
    void open(const std::string& name);

    bool has(render::texture_unit unit) override;
    void bind(render::texture_unit unit) override;
    void unbind(render::texture_unit unit) override;
    std::array<float, 2> bump_offset() override { return bump_offset_; }
    bool mercator_sphere() override { return mercatorsphere; }

    // The picture of a unit in the texture table; null before open() and after a failure.
    const texture_record* record(render::texture_unit unit) const { return units_[unsigned(unit)].get(); }

private:
    std::shared_ptr<texture_table> table_;
    std::array<std::shared_ptr<texture_record>, 3> units_;
    std::array<float, 2> bump_offset_{};
};

} // namespace libgr
