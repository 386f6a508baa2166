#version 330
// Phong lighting with colour, bump and specular pictures, plus what the environment's cube map adds by reflection
// and refraction.

in vertex_t {
    vec3 Position;
    vec4 Color;
    vec2 TexCoord;
    vec3 ViewDir;
    vec3 LightDir;
    vec3 ReflectDir;
    vec3 RefractDir;
    mat3 ObjectToSurface;
} Vertex;

uniform mat4 Globalview;
uniform mat4 invModelview;
uniform float Shininess;
// What is known beforehand costs nothing where nobody sees it.
#ifdef PLAIN
const float ReflectAlpha = 0.0;
#else
uniform float ReflectAlpha;
#endif
#if defined(PLAIN) || defined(REFLECTING)
const float RefractAlpha = 0.0;
const bool MercatorSphere = false;
#else
uniform float RefractAlpha;
uniform bool MercatorSphere;
#endif
uniform float RefractFactor;
uniform samplerCube cubeTex;
uniform sampler2D bumpTex; // the normal in tangent space, as it is stored
uniform sampler2D colorTex;
uniform sampler2D specTex;
uniform vec2 bumpOfs;
uniform bool SkyBox;

layout(location = 0) out vec4 FragmentColor;

// Height on a sphere to latitude, both 0 to 1.
float asin_slope(float f) {
    return asin(mod(f, 1.0) * 2.0 - 1.0) / radians(90.0) * 0.5 + 0.5;
}

// Latitude to height, both 0 to 1.
float sin_slope(float f) {
    return sin((f - 0.5) * 2.0 * radians(90.0)) * 0.5 + 0.5;
}

vec3 to_world(vec3 direction) {
    return vec3(Globalview * vec4(direction, 0.0));
}

vec4 add_surroundings(vec4 lit, vec3 norm) {
    vec3 reflectdir = Vertex.ReflectDir;
    vec3 refractdir = Vertex.RefractDir;
    if (!SkyBox) {
        vec3 n = vec3(invModelview * vec4(Vertex.ObjectToSurface * norm, 0.0));
        reflectdir = reflect(-Vertex.ReflectDir, n);
        refractdir = refract(-Vertex.RefractDir, n, RefractFactor);
    }
    lit += texture(cubeTex, to_world(reflectdir)) * ReflectAlpha;
    if (RefractAlpha != 0.0) lit += texture(cubeTex, to_world(refractdir)) * RefractAlpha;
    return lit;
}

void main() {
    vec2 txc = MercatorSphere ? vec2(Vertex.TexCoord.x, asin_slope(Vertex.TexCoord.y)) : Vertex.TexCoord;
    vec3 norm = texture(bumpTex, txc + bumpOfs).rgb;
    vec4 color = texture(colorTex, txc) * Vertex.Color;
    vec4 spec = texture(specTex, txc);

    vec3 v = normalize(Vertex.ViewDir);
    vec3 l = normalize(Vertex.LightDir);
    vec3 r = reflect(-l, norm);
    vec4 diffuse = vec4(color.rgb * max(dot(l, norm), 0.0), color.a);
    vec4 specular = spec * pow(max(dot(r, v), 0.0), Shininess);

    vec4 lit = diffuse + specular;
    // Cube maps cost more than all the rest, so that they are only looked at where they show.
    if (ReflectAlpha != 0.0 || RefractAlpha != 0.0) lit = add_surroundings(lit, norm);
    FragmentColor = lit;
}
