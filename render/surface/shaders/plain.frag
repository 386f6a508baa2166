#version 330
// One texture times the vertex colour, unlit.

in vertex_t {
    vec3 Position;
    vec4 Color;
    vec2 TexCoord;
} Vertex;

uniform mat4 Globalview;
uniform mat4 invModelview;
uniform sampler2D Texture;

layout(location = 0) out vec4 FragmentColor;

void main() {
    FragmentColor = texture(Texture, Vertex.TexCoord) * Vertex.Color;
}
