#version 330
// surface.frag for two surfaces at once, each with its own pictures.

in vertex_t {
    vec3 Position;
    vec4 Color;
    vec2 TexCoord;
    vec2 TexCoord2;
    vec3 ViewDir;
    vec3 LightDir;
    vec3 ReflectDir;
    vec3 RefractDir;
    mat3 ObjectToSurface;
} Vertex;

uniform mat4 Globalview;
uniform mat4 invModelview;
uniform float Shininess;
uniform float ReflectAlpha;
uniform float RefractAlpha;
uniform float RefractFactor;
uniform float MorphingRate; // 0: the first surface, 1: the second
uniform samplerCube cubeTex;
uniform sampler2D bumpTex;
uniform sampler2D colorTex;
uniform sampler2D specTex;
uniform sampler2D bumpTex2;
uniform sampler2D colorTex2;
uniform sampler2D specTex2;
uniform vec2 bumpOfs;
uniform vec2 bumpOfs2;
uniform bool SkyBox;
uniform bool MercatorSphere;
uniform bool MercatorSphere2;

layout(location = 0) out vec4 FragmentColor;

// Not surface.frag's slope: the height is doubled around the middle before it wraps.
float asin_slope(float f) {
    return asin(mod((f - 0.5) * 2.0, 1.0)) / radians(90.0) * 0.5 + 0.5;
}

vec3 to_world(vec3 direction) {
    return vec3(Globalview * vec4(direction, 0.0));
}

void main() {
    float OppositeRate = 1.0 - MorphingRate;
    vec2 txc = MercatorSphere ? vec2(Vertex.TexCoord.x, asin_slope(Vertex.TexCoord.y)) : Vertex.TexCoord;
    vec2 txc2 = MercatorSphere2 ? vec2(Vertex.TexCoord2.x, asin_slope(Vertex.TexCoord2.y)) : Vertex.TexCoord2;
    vec3 norm = normalize(texture(bumpTex, txc + bumpOfs).rgb * OppositeRate +
                          texture(bumpTex2, txc2 + bumpOfs2).rgb * MorphingRate);
    vec4 color = (texture(colorTex, txc) * OppositeRate + texture(colorTex2, txc2) * MorphingRate) * Vertex.Color;
    vec4 spec = texture(specTex, txc) * OppositeRate + texture(specTex2, txc2) * MorphingRate;

    vec3 reflectdir = Vertex.ReflectDir;
    vec3 refractdir = Vertex.RefractDir;
    if (!SkyBox) {
        vec3 n = vec3(invModelview * vec4(Vertex.ObjectToSurface * norm, 0.0));
        reflectdir = reflect(-Vertex.ReflectDir, n);
        refractdir = refract(-Vertex.RefractDir, n, RefractFactor);
    }
    vec4 refl = texture(cubeTex, to_world(reflectdir)) * ReflectAlpha;
    vec4 refr = texture(cubeTex, to_world(refractdir)) * RefractAlpha;

    vec3 v = normalize(Vertex.ViewDir);
    vec3 l = normalize(Vertex.LightDir);
    vec3 r = reflect(-l, norm);
    vec4 diffuse = vec4(color.rgb * max(dot(l, norm), 0.0), color.a);
    vec4 specular = spec * pow(max(dot(r, v), 0.0), Shininess);

    FragmentColor = diffuse + specular + refl + refr;
}
