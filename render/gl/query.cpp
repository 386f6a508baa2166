#include "render/gl/query.h"

#include "render/gl/step_check.h"

#include <GL/glew.h>

namespace render {

void query_t::create() {
    if (allocated_ || !has_context()) return;
    glGenQueries(1, &name_);
    allocated_ = 1;
}

void query_t::destroy() noexcept {
    if (allocated_ && has_context()) glDeleteQueries(1, &name_);
    allocated_ = 0;
    name_ = 0;
}

void query_t::begin(query_target target, gl_uint index) {
    if (!has_context()) return;
    create();
    target_ = GLenum(target);
    index_ = index;
    if (glBeginQueryIndexed) {
        glBeginQueryIndexed(target_, index_, name_);
    } else {
        glBeginQuery(target_, name_);
    }
}

void query_t::end() {
    if (!has_context()) return;
    if (glEndQueryIndexed) {
        glEndQueryIndexed(target_, index_);
    } else {
        glEndQuery(target_);
    }
    target_ = 0;
    index_ = 0;
}

std::uint64_t query_t::GetQuery() {
    if (!has_context()) return 0;
    GLuint64 result = 0;
    step_check("query_t::GetQuery(1)");
    glGetQueryObjectui64v(name_, GL_QUERY_RESULT, &result);
    step_check("query_t::GetQuery(end)");
    return result;
}

} // namespace render
