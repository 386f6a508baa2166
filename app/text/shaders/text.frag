#version 330
// A letter from its distance field, with a dark halo that keeps it legible on any ground. Several samples a
// pixel: at small sizes both sides of a stroke lie in one pixel.

in vec2 FieldTexel;
flat in vec4 InkColor;
flat in float HaloAlpha;

uniform sampler2D Field;

layout(location = 0) out vec4 FragmentColor; // its alpha has been multiplied

const float spread = 4.0;       // texels from an outline to where the field ends
const float halo_reach = 2.0; // texels

void main() {
    vec2 size = vec2(textureSize(Field, 0));
    vec2 across = dFdx(FieldTexel), up = dFdy(FieldTexel);
    float sample_size = 0.5 * sqrt(abs(across.x * up.y - across.y * up.x)); // texels
    float ink = 0.0, halo = 0.0;
    for (int i = 0; i < 4; ++i) {
        // A rotated grid.
        vec2 at = vec2(float(i) * 0.25 - 0.375, float((i * 2 + 1) % 5) * 0.25 - 0.5 + 0.125);
        float distance =
            (texture(Field, (FieldTexel + across * at.x + up * at.y) / size).r * 255.0 - 128.0) * spread / 127.0;
        ink += clamp(distance / sample_size + 0.5, 0.0, 1.0);
        halo += clamp(1.0 + distance / halo_reach, 0.0, 1.0);
    }
    ink *= 0.25 * InkColor.a;
    FragmentColor = vec4(InkColor.rgb * ink, ink + (1.0 - ink) * HaloAlpha * halo * 0.25);
}
