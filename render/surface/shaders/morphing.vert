#version 330
// surface.vert for two surfaces at once, blended vertex by vertex.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord;
layout(location = 3) in vec3 Tangent;
layout(location = 4) in vec3 BiNormal;
layout(location = 5) in vec3 Normal;
layout(location = 6) in vec3 Position2;
layout(location = 7) in vec4 Color2;
layout(location = 8) in vec2 TexCoord2;
layout(location = 9) in vec3 Tangent2;
layout(location = 10) in vec3 BiNormal2;
layout(location = 11) in vec3 Normal2;

uniform mat4 Modelview;
uniform mat4 invModelview;
uniform mat4 Projection;
uniform vec3 LightPosition; // eye space
uniform float RefractFactor;
uniform float MorphingRate; // 0: the first surface, 1: the second
uniform bool SkyBox;

out vertex_t {
    vec3 Position; // eye space
    vec4 Color;
    vec2 TexCoord;
    vec2 TexCoord2;
    vec3 ViewDir;  // tangent space
    vec3 LightDir; // tangent space
    vec3 ReflectDir;
    vec3 RefractDir;
    mat3 ObjectToSurface;
} Vertex;

vec3 to_eye(vec3 direction) {
    return vec3(invModelview * vec4(direction, 0.0));
}

void main() {
    float OppositeRate = 1.0 - MorphingRate;
    vec3 position = Position * OppositeRate + Position2 * MorphingRate;
    vec3 tangent = Tangent * OppositeRate + Tangent2 * MorphingRate;
    vec3 binormal = BiNormal * OppositeRate + BiNormal2 * MorphingRate;
    vec3 normal = Normal * OppositeRate + Normal2 * MorphingRate;
    mat3 frame = mat3(to_eye(tangent), to_eye(binormal), to_eye(normal));

    Vertex.Position = vec3(vec4(position, 1.0) * Modelview);
    Vertex.LightDir = normalize(LightPosition - Vertex.Position) * frame;
    vec3 ViewDir = normalize(-Vertex.Position);
    Vertex.ViewDir = ViewDir * frame;
    Vertex.Color = Color * OppositeRate + Color2 * MorphingRate;
    Vertex.TexCoord = TexCoord;
    Vertex.TexCoord2 = TexCoord2;

    if (SkyBox) ViewDir = normalize(position);
    Vertex.ObjectToSurface = mat3(tangent, binormal, normal);
    Vertex.ReflectDir = ViewDir;
    Vertex.RefractDir = ViewDir;

    gl_Position = vec4(Vertex.Position, 1.0) * Projection;
}
