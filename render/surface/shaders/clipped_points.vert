#version 330
// Points with a size and a number, and whether they lie inside four planes.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;
layout(location = 2) in float PointSize; // pixels

uniform mat4 Modelview;
uniform mat4 Projection;
uniform mat4 ClipPlanes; // one plane for each component of the product

out vec4 VertexColor;
flat out int VertexID;
flat out int isInside; // 1: on the inner side of all four, 0: outside

void main() {
    gl_PointSize = PointSize;
    gl_Position = vec4(Position, 1.0) * Modelview * Projection;
    VertexColor = Color;
    VertexID = gl_VertexID;
    vec4 clip = gl_Position * ClipPlanes;
    isInside = all(greaterThanEqual(clip, vec4(0.0))) ? 1 : 0;
}
