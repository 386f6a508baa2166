#version 330
// Between surface.vert and surface.frag: triangles that a texture marks keep a quarter of their alpha.

layout(triangles) in;
layout(triangle_strip, max_vertices = 7) out;

in vertex_t {
    vec3 Position;
    vec4 Color;
    vec2 TexCoord;
    vec3 ViewDir;
    vec3 LightDir;
    vec3 ReflectDir;
    vec3 RefractDir;
    mat3 ObjectToSurface;
} Vertex[];

uniform sampler2D vertids; // one texel for each primitive, row after row; zero: not selected
uniform int vertwidth;     // texels in a row

out vertex_t {
    vec3 Position;
    vec4 Color;
    vec2 TexCoord;
    vec3 ViewDir;
    vec3 LightDir;
    vec3 ReflectDir;
    vec3 RefractDir;
    mat3 ObjectToSurface;
} Geometry;

void main() {
    uint number = uint(gl_PrimitiveIDIn);
    uvec2 at = uvec2(number % uint(vertwidth), number / uint(vertwidth));
    bool selected = any(notEqual(texelFetch(vertids, ivec2(at), 0), vec4(0.0)));

    for (int i = 0; i < 3; ++i) {
        Geometry.Position = Vertex[i].Position;
        Geometry.Color = selected ? vec4(Vertex[i].Color.rgb, Vertex[i].Color.a * 0.25) : Vertex[i].Color;
        Geometry.TexCoord = Vertex[i].TexCoord;
        Geometry.ViewDir = Vertex[i].ViewDir;
        Geometry.LightDir = Vertex[i].LightDir;
        Geometry.ReflectDir = Vertex[i].ReflectDir;
        Geometry.RefractDir = Vertex[i].RefractDir;
        Geometry.ObjectToSurface = Vertex[i].ObjectToSurface;
        gl_Position = gl_in[i].gl_Position;
        gl_PrimitiveID = gl_PrimitiveIDIn;
        EmitVertex();
    }
    EndPrimitive();
}
