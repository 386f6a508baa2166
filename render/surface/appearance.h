#pragma once
// A surface's textures and surroundings as the renderer sees them: what to bind to the texture units, and
// their parameters.

#include <array>

namespace render {

// The three textures of a surface. Each value is the GL texture unit that the texture is bound to.
enum class texture_unit : unsigned { color = 0, bump = 1, specular = 2 };
// The unit of the environment's cube map.
inline constexpr unsigned environment_unit = 3;

// The textures of one surface. The renderer activates the unit before it calls bind or unbind.
class appearance {
public:
    virtual ~appearance() = default;

    // Whether the surface has this texture.
    virtual bool has(texture_unit unit) = 0;
    // Binds the texture to the active unit and uploads it first if necessary.
    virtual void bind(texture_unit unit) = 0;
    virtual void unbind(texture_unit unit) = 0;
    // Added to the texture coordinate for the bump texture.
    virtual std::array<float, 2> bump_offset() = 0;
    // True: the texture coordinate's v is a height on a sphere; it is converted to the latitude.
    virtual bool mercator_sphere() = 0;
};

// The surroundings of the scene. The same rules hold for bind and unbind.
class surroundings {
public:
    virtual ~surroundings() = default;

    virtual bool has_cube() = 0;
    virtual void bind_cube() = 0;
    virtual void unbind_cube() = 0;
    // The share of the reflected and of the refracted picture that is added to the surface, 0 to 1.
    virtual float reflect_alpha() = 0;
    virtual float refract_alpha() = 0;
    // The refractive index outside divided by that inside, for the shading language's refract().
    virtual float refract_factor() = 0;
};

} // namespace render
