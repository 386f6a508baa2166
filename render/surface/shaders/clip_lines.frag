#version 330
// The colour that clip_lines.geom hands on.

in vec4 GeometryColor;

layout(location = 0) out vec4 FragmentColor;

void main() {
    FragmentColor = GeometryColor;
}
