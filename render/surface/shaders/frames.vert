#version 330
// The tangent frame of a vertex from two pairs of directions along its surface: the normal is the mean of the two
// pairs' normals, the tangent the mean of the two tangents, and the binormal completes them. Captured, not drawn.

layout(location = 0) in vec3 Position;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord;
layout(location = 3) in vec3 Tangent;
layout(location = 4) in vec3 BiNormal;
layout(location = 5) in vec3 Tangent2;
layout(location = 6) in vec3 BiNormal2;

uniform mat4 Modelview;
uniform mat4 invModelview;
uniform mat4 Projection;

out vec3 VertexPosition;
out vec4 VertexColor;
out vec2 VertexTexCoord;
out vec3 VertexTangent;
out vec3 VertexBiNormal;
out vec3 VertexNormal;

void main() {
    VertexPosition = Position;
    VertexNormal = normalize(cross(Tangent, BiNormal) + cross(Tangent2, BiNormal2));
    VertexTangent = normalize(Tangent + Tangent2);
    VertexBiNormal = cross(VertexNormal, VertexTangent);
    VertexColor = Color;
    VertexTexCoord = TexCoord;
    gl_Position = vec4(Position, 1.0);
}
