#version 330
// Clips a triangle against four lines of the picture plane (Sutherland and Hodgman, "Reentrant polygon clipping",
// 1974). For now the result is only computed: what is emitted is the triangle as it came.

layout(triangles) in;
layout(triangle_strip, max_vertices = 7) out;

in vec4 VertexColor[];

// Four lines (a, b, c): top, bottom, left, right. a x + b y + c is below 0 outside.
uniform mat4x3 ClipLines;

out vec4 GeometryColor;

const int most = 7; // three corners, and one more for each line

struct edge_list {
    int count;
    vec4 position[most];
    vec4 color[most];
};

void append(inout edge_list list, vec4 position, vec4 color) {
    if (list.count < most) {
        list.position[list.count] = position;
        list.color[list.count] = color;
        ++list.count;
    }
}

edge_list clip_by(edge_list list, vec3 line) {
    edge_list kept;
    kept.count = 0;
    for (int i = 0; i < list.count; ++i) {
        int next = i + 1 < list.count ? i + 1 : 0;
        float here = dot(line, vec3(list.position[i].xy, 1.0));
        float there = dot(line, vec3(list.position[next].xy, 1.0));
        if (here >= 0.0) append(kept, list.position[i], list.color[i]);
        if (here >= 0.0 && there < 0.0) {
            float rate = here / (here - there);
            append(kept, mix(list.position[i], list.position[next], rate), mix(list.color[i], list.color[next], rate));
        } else if (here < 0.0 && there >= 0.0) {
            float rate = there / (there - here);
            append(kept, mix(list.position[next], list.position[i], rate), mix(list.color[next], list.color[i], rate));
        }
    }
    return kept;
}

void emit_vertex(vec4 position, vec4 color) {
    gl_Position = position;
    GeometryColor = color;
    gl_PrimitiveID = gl_PrimitiveIDIn;
    EmitVertex();
}

void emit_triangle(edge_list list) {
    for (int i = 0; i < list.count; ++i) emit_vertex(list.position[i], list.color[i]);
    // EndPrimitive();
}

// The list as a strip, from both ends to the middle. The middle vertex of an odd count is never reached:
// every count is 0 modulo 1.
void emit_strip(edge_list list) {
    for (int i = 0; i < list.count / 2; ++i) {
        emit_vertex(list.position[i], list.color[i]);
        emit_vertex(list.position[list.count - 1 - i], list.color[list.count - 1 - i]);
    }
    if (list.count % 1 == 1) emit_vertex(list.position[list.count / 2], list.color[list.count / 2]);
    EndPrimitive();
}

void main() {
    edge_list triangle;
    triangle.count = 0;
    for (int i = 0; i < 3; ++i) append(triangle, gl_in[i].gl_Position, VertexColor[i]);

    edge_list top = clip_by(triangle, ClipLines[0]);
    edge_list bottom = clip_by(top, ClipLines[1]);
    edge_list left = clip_by(bottom, ClipLines[2]);
    edge_list right = clip_by(left, ClipLines[3]);

    emit_triangle(triangle);
}
