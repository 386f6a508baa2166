#pragma once
// What a surface wears and what it mirrors, as the renderer knows them: things to bind to texture units and
// the numbers that go with them.

#include <array>

namespace render {

// The three pictures of a surface. The value is the GL texture unit that each is bound to.
enum class texture_unit : unsigned { color = 0, bump = 1, specular = 2 };
// The unit of the environment's cube map.
inline constexpr unsigned environment_unit = 3;

// The pictures of one surface. The renderer has made the unit active before it calls bind or unbind.
class appearance {
public:
    virtual ~appearance() = default;

    // True when the surface has this picture.
    virtual bool has(texture_unit unit) = 0;
    // Makes the picture current on the active unit, uploading it first where that has not been done.
    virtual void bind(texture_unit unit) = 0;
    virtual void unbind(texture_unit unit) = 0;
    // Added to the texture coordinate where the bump picture is sampled.
    virtual std::array<float, 2> bump_offset() = 0;
    // True: the texture coordinate's v is the height on a sphere, and is turned into the angle of latitude.
    virtual bool mercator_sphere() = 0;
};

// What surrounds the scene. The same rules for bind and unbind.
class surroundings {
public:
    virtual ~surroundings() = default;

    virtual bool has_cube() = 0;
    virtual void bind_cube() = 0;
    virtual void unbind_cube() = 0;
    // How much of the reflected and of the refracted picture is added to the surface: 0 none, 1 all.
    virtual float reflect_alpha() = 0;
    virtual float refract_alpha() = 0;
    // Refractive index outside over inside, as the shading language's refract() takes it.
    virtual float refract_factor() = 0;
};

} // namespace render
