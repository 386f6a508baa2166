#version 330
// The colour of the point or triangle.

in vec4 VertexColor;

layout(location = 0) out vec4 fragmentColor;

void main() {
    fragmentColor = VertexColor;
}
