#version 330
// A lit surface: carries the light and view directions into the surface's own tangent space.
// Matrices arrive transposed, so a position stands to their left and a direction, which needs the inverse's
// transpose, to the right of the inverse.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord;
layout(location = 3) in vec3 Tangent;
layout(location = 4) in vec3 BiNormal;
layout(location = 5) in vec3 Normal;

uniform mat4 Modelview;
uniform mat4 invModelview;
uniform mat4 Projection;
uniform vec3 LightPosition; // eye space
uniform float ColorFactor;  // of the alpha
uniform float RefractFactor;
uniform bool SkyBox;

out vertex_t {
    vec3 Position; // eye space
    vec4 Color;
    vec2 TexCoord;
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
    mat3 frame = mat3(to_eye(Tangent), to_eye(BiNormal), to_eye(Normal));

    Vertex.Position = vec3(vec4(Position, 1.0) * Modelview);
    Vertex.LightDir = normalize(LightPosition - Vertex.Position) * frame;
    vec3 ViewDir = normalize(-Vertex.Position);
    Vertex.ViewDir = ViewDir * frame;
    Vertex.Color = vec4(Color.rgb, Color.a * ColorFactor);
    Vertex.TexCoord = TexCoord;

    if (SkyBox) ViewDir = normalize(Position); // the box is looked up by its own corners
    Vertex.ObjectToSurface = mat3(Tangent, BiNormal, Normal);
    Vertex.ReflectDir = ViewDir;
    Vertex.RefractDir = ViewDir;

    gl_Position = vec4(Vertex.Position, 1.0) * Projection;
}
