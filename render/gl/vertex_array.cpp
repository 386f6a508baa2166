#include "render/gl/vertex_array.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

namespace {

constexpr attribute_kind kinds[] = {
    {3, "Position", GL_FLOAT, false},  {3, "Normal", GL_FLOAT, true},     {4, "RGBA", GL_FLOAT, true},
    {3, "TexCoord3", GL_FLOAT, false}, {2, "TexCoord2", GL_FLOAT, false}, {1, "PointSize", GL_FLOAT, false},
    {1, "ID", GL_UNSIGNED_INT, false}, {4, "Vector3w", 0, false},         {16, "Matrix3w", 0, false},
};

class listed_layout : public vertex_layout {
public:
    explicit listed_layout(std::initializer_list<attribute> entries) : kinds_(entries) {}
    std::uint32_t size() const override { return std::uint32_t(kinds_.size()); }
    attribute kind(std::uint32_t index) const override { return kinds_[index]; }

private:
    std::vector<attribute> kinds_;
};

} // namespace

attribute_kind kind_of(attribute which) {
    const auto index = std::size_t(which);
    return index < std::size(kinds) ? kinds[index] : attribute_kind{0, nullptr, 0, false};
}

layout_ref empty_layout() {
    static const layout_ref empty = make_layout({});
    return empty;
}

layout_ref make_layout(std::initializer_list<attribute> entries) {
    return std::make_shared<listed_layout>(entries);
}

std::uint32_t stride_of(const vertex_layout& layout) {
    std::uint32_t floats = 0;
    for (std::uint32_t i = 0; i < layout.size(); ++i)
        floats += kind_of(layout.kind(i)).components;
    return floats;
}

vertex_array_t::record::~record() {
    if (allocated && has_context()) glDeleteVertexArrays(1, &name);
}

void vertex_array_t::create() {
    if (!has_context()) return;
    if (!record_) record_ = std::make_shared<record>();
    if (!record_->allocated) {
        glGenVertexArrays(1, &record_->name);
        record_->allocated = true;
    }
}

gl_uint vertex_array_t::id() const {
    return record_ && record_->allocated ? record_->name : no_object;
}

void vertex_array_t::bind_layout(const vertex_layout& layout, std::uint32_t stride, gl_uint buffer,
                                 std::uint32_t first_location) {
    if (!buffer || !record_ || !has_context()) return;
    glBindVertexArray(id());
    glBindBuffer(GL_ARRAY_BUFFER, buffer);
    std::uintptr_t offset = 0;
    for (std::uint32_t i = 0; i < layout.size(); ++i) {
        const attribute_kind kind = kind_of(layout.kind(i));
        const std::uint32_t location = first_location + i;
        glEnableVertexAttribArray(location);
        glVertexAttribPointer(location, GLint(kind.components), kind.type, kind.normalised,
                              GLsizei(stride * 4), reinterpret_cast<const void*>(offset));
        offset += kind.components * 4;
    }
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindVertexArray(0);
}

void vertex_array_t::draw_arrays(primitive mode, std::uint64_t count) const {
    if (!has_context()) return;
    glBindVertexArray(id());
    glDrawArrays(GLenum(mode), 0, GLsizei(count));
    glBindVertexArray(0);
}

} // namespace render
