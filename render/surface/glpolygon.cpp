#include "render/surface/glpolygon.h"

#include "libutils/report.h"
#include "render/gl/array_buffer.h"
#include "render/gl/query.h"
#include "render/gl/step_check.h"
#include "render/surface/appearance.h"
#include "render/surface/builtin_shaders.h"
#include "render/surface/drawable.h"
#include "render/surface/feedback_buffer.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace render {

namespace {

enum uniform : std::size_t {
    globalview,
    modelview,
    inv_modelview,
    projection_matrix,
    light_position,
    shininess,
    refract_factor,
    sky_box,
    reflect_alpha,
    refract_alpha,
    cube_tex,
    color_tex,
    bump_tex,
    spec_tex,
    bump_ofs,
    color_factor,
    mercator_sphere
};

[[noreturn]] void fail(std::string_view what, const std::string& log) {
    libutils::report(what, '\n', log);
    std::exit(EXIT_FAILURE);
}

// Compiles the file of that name, or the built-in text where there is no such file; true for the latter.
bool compile_or_exit(shader_t& shader, stored_shader otherwise, const char* file,
                     const std::string& directory, const char* failure) {
    std::string text;
    const bool replaced = load_shader_file(file, directory, text);
    const builtin_shader& stored = builtin(otherwise);
    if (!shader.compile_text(stored.stage, replaced ? std::string_view(text) : stored.text))
        fail(std::string(file) + failure, shader.log());
    return !replaced;
}

void activate(unsigned unit) {
    glActiveTexture(GL_TEXTURE0 + unit);
}

void bind(appearance& surface, texture_unit unit) {
    if (!surface.has(unit)) return;
    activate(unsigned(unit));
    surface.bind(unit);
}

void unbind(appearance& surface, texture_unit unit) {
    if (!surface.has(unit)) return;
    activate(unsigned(unit));
    surface.unbind(unit);
}

} // namespace

const std::array<const char*, glpolygon_t::uniform_count>& glpolygon_t::uniform_names() {
    static constexpr std::array<const char*, uniform_count> names = {
        "Globalview",    "Modelview", "invModelview", "Projection",   "LightPosition", "Shininess",
        "RefractFactor", "SkyBox",    "ReflectAlpha", "RefractAlpha", "cubeTex",       "colorTex",
        "bumpTex",       "specTex",   "bumpOfs",      "ColorFactor",  "MercatorSphere"};
    return names;
}

bool glpolygon_t::init(const std::string& directory) {
    if (!has_context()) return false;
    compile_or_exit(feedback_vertex_, stored_shader::frames_vertex, "feedback.vsd", directory,
                    ": feedback vertex shader init failed.");
    step_check("glpolygon_t::init() feedback vertex shader inited.");
    compile_or_exit(feedback_fragment_, stored_shader::phong_fragment, "feedback.fsd", directory,
                    ": feedback fragment shader init failed.");
    step_check("glpolygon_t::init() feedback fragment shader inited.");

    feedback_.create();
    feedback_.attach(feedback_vertex_);
    feedback_.attach(feedback_fragment_);
    step_check("glpolygon_t::init() feedback program inited.");
    if (!capture_.allocate()) return libutils::report("feedback.allocate() error.");
    static constexpr const char* captured[] = {"VertexTangent", "VertexBiNormal", "VertexNormal"};
    capture_.varyings(feedback_.id(), int(std::size(captured)), captured);
    step_check("glpolygon_t::init() feedback varying setted.");
    if (!feedback_.link()) fail("feedback program link failed.", feedback_.log());

    bool all_builtin = compile_or_exit(surface_vertex_, stored_shader::surface_vertex, "shader.vsd",
                                       directory, ": vertex shader init failed.");
    all_builtin &= compile_or_exit(surface_fragment_, stored_shader::surface_fragment, "shader.fsd",
                                   directory, ": fragment shader init failed.");
    surface_.program.create();
    surface_.program.attach(surface_vertex_);
    surface_.program.attach(surface_fragment_);
    if (!surface_.program.link()) fail("program link failed.", surface_.program.log());

    for (std::size_t i = 0; i < uniform_count; ++i)
        surface_.uniforms[i] = surface_.program.location(uniform_names()[i]);
    surface_.values.fill({});
    if (all_builtin) {
        build_variant(plain_, plain_fragment_, "#define PLAIN\n");
        build_variant(reflecting_, reflecting_fragment_, "#define REFLECTING\n");
    }
    step_check("glpolygon_t::init(end)");
    return true;
}

void glpolygon_t::build_variant(lighting& made, shader_t& fragment, std::string_view define) {
    const std::string_view text = builtin(stored_shader::surface_fragment).text;
    const std::size_t version = text.find('\n') + 1; // the line that has to come first
    const char* const texts[] = {text.data(), define.data(), text.data() + version};
    const gl_int lengths[] = {gl_int(version), gl_int(define.size()), gl_int(text.size() - version)};
    if (!fragment.compile(shader_stage::fragment, 3, texts, lengths)) return;
    made.program.create();
    made.program.attach(surface_vertex_);
    made.program.attach(fragment);
    if (!made.program.link()) return made.program.destroy();
    // This program lacks most uniforms on purpose.
    for (std::size_t i = 0; i < uniform_count; ++i)
        made.uniforms[i] = glGetUniformLocation(made.program.id(), uniform_names()[i]);
    made.values.fill({});
}

void glpolygon_t::update_frames(drawable& surface) {
    // Capturing into a buffer of no size is an error of the GL.
    if (!has_context() || surface.feedback_vertex_count() == 0) return;
    feedbackbuffer& buffer = surface.feedback_buffer();
    array_buffer_t& frames = surface.frame_array();

    feedback_.use();
    query_t written, generated;
    written.create();
    generated.create();
    written.begin(query_target::primitives_written);
    generated.begin(query_target::primitives_generated);
    // Only the capture is wanted: the points must not appear in the picture.
    glEnable(GL_RASTERIZER_DISCARD);
    capture_.begin(primitive::points, buffer.id());
    surface.draw_feedback_points();
    capture_.end();
    glDisable(GL_RASTERIZER_DISCARD);
    written.end();
    generated.end();
    const std::uint64_t written_count = written.GetQuery();
    const std::uint64_t generated_count = generated.GetQuery();
    program_t::unuse();

    if (written_count != generated_count)
        libutils::report("glpolygon wrted != gened: ", written_count, ", ", generated_count);
    if (const std::uint64_t expected = buffer.floats() / frame_floats; expected != generated_count)
        libutils::report("glpolygon buf != gened: ", expected, ", ", generated_count);

    buffer.bind();
    frames.bind();
    glCopyBufferSubData(GL_TRANSFORM_FEEDBACK_BUFFER, GL_ARRAY_BUFFER, 0, 0, GLsizeiptr(frames.capacity()));
    frames.unbind();
    buffer.unbind();
    step_check("glpolygon_t::update_frames(end)");
}

struct glpolygon_t::pass {
    const char* name; // in the labels of the step checks
    bool selection;
    float color_factor;
    GLenum source_factor; // of blending
};

struct glpolygon_t::arguments {
    surroundings* around;
    bool skybox;
    appearance& surface;
    drawable& shape;
    const mtx3w& Globalview;
    const mtx3w& Modelview;
    const mtx3w& invModelview;
    const mtx3w& Projection;
    const pos3& LightPosition;
    float Shininess;
};

bool glpolygon_t::lighting::renew(std::size_t which, std::span<const float> value) {
    if (uniforms[which] == -1) return false;
    std::array<float, 16> sent{};
    std::copy(value.begin(), value.end(), sent.begin());
    std::optional<std::array<float, 16>>& last = values[which];
    // The bits count: a NaN is like itself.
    if (last && std::memcmp(last->data(), sent.data(), sizeof sent) == 0) return false;
    last = sent;
    return true;
}

void glpolygon_t::lighting::set(std::size_t which, const mtx3w& value) {
    // The shaders multiply row vectors by the matrix.
    if (renew(which, value.m)) glUniformMatrix4fv(uniforms[which], 1, GL_TRUE, value.m);
}

void glpolygon_t::lighting::set(std::size_t which, const pos3& value) {
    const float sent[] = {value.x, value.y, value.z};
    if (renew(which, sent)) glUniform3fv(uniforms[which], 1, sent);
}

void glpolygon_t::lighting::set(std::size_t which, const std::array<float, 2>& value) {
    if (renew(which, value)) glUniform2fv(uniforms[which], 1, value.data());
}

void glpolygon_t::lighting::set(std::size_t which, float value) {
    if (renew(which, {&value, 1})) glUniform1f(uniforms[which], value);
}

void glpolygon_t::lighting::set(std::size_t which, int value) {
    const float noted = float(value); // flags and texture units, which a float holds exactly
    if (renew(which, {&noted, 1})) glUniform1i(uniforms[which], value);
}

void glpolygon_t::draw(const pass& how, const arguments& what) {
    if (!has_context()) return;
    surroundings* const around = what.around;
    // A selection keeps the flag of the surface before it.
    if (!how.selection) mercator_ = what.surface.mercator_sphere();
    const bool refracts = around && around->refract_alpha() != 0;
    const bool mirrors = refracts || (around && around->reflect_alpha() != 0);
    const bool simple = !how.selection && !mercator_ && !refracts && reflecting_.program.id() != 0;
    const bool plain = simple && !mirrors && plain_.program.id() != 0;
    const bool binds_cube = !plain && around && around->has_cube();
    lighting& with = plain ? plain_ : simple ? reflecting_ : surface_;
    const auto step = [&how](const char* which) { step_check(how.name, which); };

    with.program.use();
    with.set(globalview, what.Globalview);
    with.set(modelview, what.Modelview);
    with.set(inv_modelview, what.invModelview);
    with.set(projection_matrix, what.Projection);
    with.set(light_position, what.LightPosition);
    with.set(color_factor, how.color_factor);
    with.set(shininess, what.Shininess);

    step("(1)");
    activate(unsigned(texture_unit::color));
    if (how.selection) step("(1.1)");
    with.set(color_tex, int(texture_unit::color));
    if (how.selection) step("(1.2)");
    if (what.surface.has(texture_unit::color)) what.surface.bind(texture_unit::color);

    step("(2)");
    with.set(bump_tex, int(texture_unit::bump));
    bind(what.surface, texture_unit::bump);
    with.set(bump_ofs, what.surface.bump_offset());

    step("(3)");
    with.set(spec_tex, int(texture_unit::specular));
    bind(what.surface, texture_unit::specular);

    step("(4)");
    with.set(cube_tex, int(environment_unit));
    if (binds_cube) {
        activate(environment_unit);
        around->bind_cube();
    }
    // Without surroundings SkyBox and RefractFactor have no effect and keep their values.
    if (around) {
        with.set(refract_factor, around->refract_factor());
        with.set(sky_box, what.skybox);
    }
    with.set(reflect_alpha, around ? around->reflect_alpha() : 0.0f);
    with.set(refract_alpha, around ? around->refract_alpha() : 0.0f);

    step("(5)");
    with.set(mercator_sphere, mercator_);
    glEnable(GL_BLEND);
    glBlendFunc(how.source_factor, GL_ONE_MINUS_SRC_ALPHA);
    if (how.selection) {
        what.shape.draw_selection();
    } else {
        what.shape.draw();
    }
    glDisable(GL_BLEND);
    if (!how.selection) program_t::unuse();

    step("(7)"); // there is no step 6
    if (binds_cube) {
        activate(environment_unit);
        around->unbind_cube();
    }
    unbind(what.surface, texture_unit::specular);
    unbind(what.surface, texture_unit::bump);
    activate(unsigned(texture_unit::color)); // and left active
    if (what.surface.has(texture_unit::color)) what.surface.unbind(texture_unit::color);
    if (how.selection) program_t::unuse();
    step("(end)");
}

void glpolygon_t::drawsolid(surroundings* around, bool skybox, appearance& surface, drawable& shape,
                            const mtx3w& Globalview, const mtx3w& Modelview, const mtx3w& invModelview,
                            const mtx3w& Projection, const pos3& LightPosition, float Shininess) {
    static constexpr pass solid = {"glpolygon_t::drawsolid", false, 1.0f, GL_SRC_ALPHA};
    draw(solid, {around, skybox, surface, shape, Globalview, Modelview, invModelview, Projection,
                 LightPosition, Shininess});
}

void glpolygon_t::drawselect(surroundings* around, bool skybox, appearance& surface, drawable& shape,
                             const mtx3w& Globalview, const mtx3w& Modelview, const mtx3w& invModelview,
                             const mtx3w& Projection, const pos3& LightPosition, float Shininess) {
    static constexpr pass highlight = {"glpolygon_t::drawselect", true, 0.25f, GL_ONE};
    draw(highlight, {around, skybox, surface, shape, Globalview, Modelview, invModelview, Projection,
                     LightPosition, Shininess});
}

} // namespace render
