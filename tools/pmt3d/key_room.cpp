#include "key_room.h"

#include "models/layout/key_layout.h"
#include "pmt3d/surface/strips.h"

#include <algorithm>
#include <limits>

namespace tool {

namespace {

struct span {
    double from, to;

    double size() const { return to - from; }
};

struct room {
    span x, z;
    double top;

    explicit room(int note) {
        const models::key_place place = models::place_of(note);
        const double gap = double(place.black ? models::black_gap : models::white_gap);
        x = {double(place.left) + gap / 2, double(place.right) - gap / 2};
        const double back = double(models::key_back);
        z = {back, back + double(place.black ? models::black_length : models::white_length)};
        top = place.black ? double(models::black_height) : 0;
    }
};

} // namespace

std::optional<movement> fit_key(const extent& of, int note) {
    const room into(note);
    double factor = std::numeric_limits<double>::infinity();
    if (of.size(0) > 0) factor = std::min(factor, into.x.size() / of.size(0));
    if (of.size(2) > 0) factor = std::min(factor, into.z.size() / of.size(2));
    if (!(factor < std::numeric_limits<double>::infinity())) return {};
    return movement::shifting({-of.middle(0), -of.max[1], -of.max[2]})
        .then(movement::scaling({factor, factor, factor}))
        .then(movement::shifting({into.x.from + into.x.size() / 2, into.top, into.z.to}));
}

bool touches_neighbours(const pmt3d::model_t& model, int note) {
    constexpr float rounding = 1e-4f;
    const models::key_place place = models::place_of(note);
    for (const pmt3d::model_item_t& item : model.items) {
        const auto vertices = item.polygon.vertices();
        for (const pmt3d::element_t element : item.polygon.getelements()) {
            if (element >= vertices.size()) continue;
            const render::pos3& p = vertices[element].position;
            if (p.z < models::key_back + models::black_length - rounding &&
                (p.x < place.tail_left - rounding || p.x > place.tail_right + rounding))
                return true;
        }
    }
    return false;
}

} // namespace tool
