#pragma once
// How much a polished surface reflects.

#include "render/surface/appearance.h"

#include <cmath>

namespace quenvarel {

// Of the light that meets a surface, what it reflects: factor is the refractive index outside over inside,
// cosine that of the angle between the light and the surface's normal (Schlick's approximation).
inline float fresnel(float factor, float cosine) {
    const float straight = (1 - factor) / (1 + factor) * ((1 - factor) / (1 + factor));
    return straight + (1 - straight) * std::pow(1 - cosine, 5.0f);
}

// The same as a share of what pictures store, where half the value is a fifth of the light.
inline float stored_share(float of_light) {
    return std::pow(of_light, 1 / 2.2f);
}

// How much of its surroundings a surface with this factor shows; one without does not reflect.
inline float polish_of(float factor) {
    return factor > 0 && factor < 1 ? stored_share(fresnel(factor, 1)) : 0;
}

// Surroundings of which only a share is reflected, and nothing seen through.
class dimmed_surroundings : public render::surroundings {
public:
    dimmed_surroundings(render::surroundings& whole, float share)
        : dimmed_surroundings(whole, share, whole.reflect_alpha()) {}
    // With another reflect_alpha than that of the whole.
    dimmed_surroundings(render::surroundings& whole, float share, float alpha)
        : whole_(&whole),
          share_(share),
          alpha_(share * alpha) {}

    bool has_cube() override { return share_ > 0 && whole_->has_cube(); }
    void bind_cube() override { whole_->bind_cube(); }
    void unbind_cube() override { whole_->unbind_cube(); }
    float reflect_alpha() override { return has_cube() ? alpha_ : 0; }
    float refract_alpha() override { return 0; }
    float refract_factor() override { return 0; }

private:
    render::surroundings* whole_;
    float share_, alpha_;
};

} // namespace quenvarel
