#version 330
// Position, colour and texture coordinate as they are, for plain.frag.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord;

uniform mat4 Modelview;
// uniform mat4 invModelview;
uniform mat4 Projection;

out vertex_t {
    vec3 Position; // eye space
    vec4 Color;
    vec2 TexCoord;
} Vertex;

void main() {
    Vertex.Position = vec3(vec4(Position, 1.0) * Modelview);
    Vertex.Color = Color;
    Vertex.TexCoord = TexCoord;
    gl_Position = vec4(Vertex.Position, 1.0) * Projection;
}
