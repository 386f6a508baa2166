#pragma once
// The texture options of a model file, as plain values: no picture is opened and no GL is needed.

#include <string>

namespace libgr {

// The three pictures of one surface.
struct texture_options {
    std::string texture;  // colour picture; empty: plain white
    std::string bumpmap;  // height map (grey, alpha ignored) or normal map (RGB); empty: flat
    std::string specular; // colour of the highlight; empty: the default highlight
    float aniso = 1.0f;   // most samples of anisotropic filtering; 1: none
    float refractfactor = 0.0f;
    bool bumpofs = true;    // sample the bump picture half a texel earlier, between the heights it compares
    bool bump2mono = false; // turn an RGB bump picture to grey and use it as a height map
    bool mipmap = true;     // build and use the smaller levels
    bool nearlinear = true; // smooth minification
    bool maglinear = true;  // smooth magnification
    bool mercatorsphere = false; // v of the texture coordinate is the height on a sphere
    friend bool operator==(const texture_options&, const texture_options&) = default;
};

// What the scene reflects and refracts.
struct environment_options {
    std::string cubetex;        // picture name without its face suffix; empty: the default environment
    float reflectalpha = 0.0f;  // how much of the reflection is added, 0 to 1
    float refractalpha = 0.0f;  // how much of the refraction is added, 0 to 1
    float refractfactor = 0.0f; // refractive index outside over inside
    friend bool operator==(const environment_options&, const environment_options&) = default;
};

} // namespace libgr
