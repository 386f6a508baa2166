#version 330
// Letters, for text.frag.

layout(location = 0) in vec4 Position; // clip space
layout(location = 1) in vec2 Texel;
layout(location = 2) in vec4 Ink;
layout(location = 3) in float Halo;

out vec2 FieldTexel;
flat out vec4 InkColor;
flat out float HaloAlpha;

void main() {
    FieldTexel = Texel;
    InkColor = Ink;
    HaloAlpha = Halo;
    gl_Position = Position;
}
