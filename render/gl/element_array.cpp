#include "render/gl/element_array.h"

#include "libutils/report.h"
#include "render/gl/step_check.h"

#include <GL/glew.h>

#include <algorithm>
#include <limits>
#include <ostream>

namespace render {

bool element_array_t::allocate(std::uint64_t count) {
    if (!has_context()) return false;
    if (!buffer_) buffer_ = std::make_shared<buffer_t>();
    buffer_->create(GL_ELEMENT_ARRAY_BUFFER);
    if (count == count_) return true;

    constexpr auto most = std::uint64_t(std::numeric_limits<std::ptrdiff_t>::max());
    count_ = count;
    capacity_ = std::max(count > most / 4 ? most : count * 4, capacity_);
    step_check("element_array_t::allocate(1)");
    buffer_->bind();
    step_check("element_array_t::allocate(2)");
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(capacity_), nullptr, GL_DYNAMIC_DRAW);
    if (step_check("element_array_t::allocate(3)"))
        libutils::report("elements: ", count_, "\nbuffer_size: ", capacity_);
    buffer_->unbind();
    step_check("element_array_t::allocate(end)");
    return true;
}

void element_array_t::release() {
    *this = element_array_t();
}

void element_array_t::upload(std::span<const std::uint32_t> indices, std::uint64_t first) {
    if (!allocated() || !has_context()) return;
    step_check("element_array_t::upload(1)");
    buffer_->bind();
    glBufferSubData(GL_ELEMENT_ARRAY_BUFFER, GLintptr(first * 4), GLsizeiptr(indices.size_bytes()),
                    indices.data());
    buffer_->unbind();
    step_check("element_array_t::upload(end)");
}

void element_array_t::draw(const vertex_array_t& vertex_array, primitive mode) const {
    if (!allocated() || !has_context()) return;
    step_check("element_array_t::draw(0)");
    glBindVertexArray(vertex_array.id());
    step_check("element_array_t::draw(1)");
    buffer_->bind();
    step_check("element_array_t::draw(2)");
    glDrawElements(GLenum(mode), GLsizei(count_), GL_UNSIGNED_INT, nullptr);
    step_check("element_array_t::draw(3)");
    buffer_->unbind();
    step_check("element_array_t::draw(4)");
    glBindVertexArray(0);
    step_check("element_array_t::draw(end)");
}

std::uint32_t* element_array_t::map() {
    const char* failure = "element object is not allocated.";
    if (allocated()) {
        if (void* ptr = buffer_->MapBufferRange(0, capacity_, map_read | map_write)) {
            return static_cast<std::uint32_t*>(ptr);
        }
        failure = "element pointer is NULL.";
    }
    libutils::report(failure);
    return nullptr;
}

void element_array_t::unmap() {
    if (allocated()) buffer_->unmap();
}

void element_array_t::print(std::ostream& out) {
    if (const std::uint32_t* indices = map()) {
        print_indices(out, {indices, std::size_t(count_)});
        unmap();
    }
}

void print_indices(std::ostream& out, std::span<const std::uint32_t> indices) {
    const char* separator = "";
    for (const std::uint32_t index : indices) {
        out << separator;
        if (index == restart_index) {
            out << "-1";
        } else {
            out << index;
        }
        separator = ", ";
    }
    out << '\n';
}

} // namespace render
