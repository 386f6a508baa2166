#include "render/math/operations.h"

#include <cmath>

namespace render {

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
