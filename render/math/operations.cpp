#include "render/math/operations.h"

#include <cmath>

namespace render {

float length(const dir3& d) {
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

dir3 normalise(const dir3& d) {
    const float l = length(d);
    return l == 0.0f ? dir3{0.0f, 0.0f, 0.0f} : d * (1.0f / l);
}

float truncate(float x, float step) {
    return std::trunc(x / step) * step;
}

pos3 truncate(const pos3& p, const dir3& step) {
    return {truncate(p.x, step.x), truncate(p.y, step.y), truncate(p.z, step.z)};
}

float round_up(float x, float step) {
    const float below = truncate(x, step);
    return x > below ? below + step : below;
}

pos3 round_up(const pos3& p, const dir3& step) {
    return {round_up(p.x, step.x), round_up(p.y, step.y), round_up(p.z, step.z)};
}

} // namespace render
