#version 330
// Phong lighting with a white highlight; the fragment stage of frames.vert.

in vec3 VertexPosition;
in vec4 VertexColor;
in vec2 VertexTexCoord;
in vec3 VertexTangent;
in vec3 VertexBiNormal;
in vec3 VertexNormal;

uniform vec3 LightPosition;
uniform float Shininess;
uniform vec4 specularColor;

layout(location = 0) out vec4 fragmentColor;

void main() {
    vec3 e = normalize(LightPosition - VertexPosition);
    vec3 v = normalize(-VertexPosition);
    vec3 r = reflect(-e, VertexNormal);
    fragmentColor = VertexColor * max(dot(e, VertexNormal), 0.0) +
                    vec4(1.0, 1.0, 1.0, 1.0) * pow(max(dot(r, v), 0.0), Shininess);
}
