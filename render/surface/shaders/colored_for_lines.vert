#version 330
// Coloured vertices without light, ahead of clip_lines.geom.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;

uniform mat4 Modelview;
uniform mat4 Projection;

out vec4 VertexColor;

void main() {
    VertexColor = Color;
    gl_Position = vec4(Position, 1.0) * Modelview * Projection;
}
