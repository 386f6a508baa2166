// Buffers, vertex arrays and the two arrays of a surface, on the GPU.

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"

#include <functional>
#include <numeric>
#include <sstream>

namespace {

using namespace render;

class Arrays : public test_support::gl_test {
protected:
    static GLint buffer_size(gl_uint name) {
        GLint bytes = -1;
        glBindBuffer(GL_ARRAY_BUFFER, name);
        glGetBufferParameteriv(GL_ARRAY_BUFFER, GL_BUFFER_SIZE, &bytes);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        return bytes;
    }
    static std::vector<float> contents(array_buffer_t& array, std::size_t floats) {
        const float* mapped = array.map();
        std::vector<float> all(mapped, mapped + floats);
        array.unmap();
        return all;
    }
    static std::vector<float> counting(std::size_t floats) {
        std::vector<float> values(floats);
        std::iota(values.begin(), values.end(), 1.0f);
        return values;
    }
};

TEST_F(Arrays, AttributeKinds) {
    const struct {
        attribute which;
        std::uint32_t components;
        const char* name;
        gl_enum type;
        bool normalised;
    } expected[] = {{attribute::position, 3, "Position", GL_FLOAT, false},
                    {attribute::normal, 3, "Normal", GL_FLOAT, true},
                    {attribute::rgba, 4, "RGBA", GL_FLOAT, true},
                    {attribute::texcoord3, 3, "TexCoord3", GL_FLOAT, false},
                    {attribute::texcoord2, 2, "TexCoord2", GL_FLOAT, false},
                    {attribute::point_size, 1, "PointSize", GL_FLOAT, false},
                    {attribute::id, 1, "ID", GL_UNSIGNED_INT, false},
                    {attribute::vector3w, 4, "Vector3w", 0, false},
                    {attribute::matrix3w, 16, "Matrix3w", 0, false}};
    for (std::uint32_t i = 0; i < std::size(expected); ++i) {
        ASSERT_EQ(std::uint32_t(expected[i].which), i);
        const attribute_kind kind = kind_of(expected[i].which);
        EXPECT_EQ(kind.components, expected[i].components);
        EXPECT_STREQ(kind.name, expected[i].name);
        EXPECT_EQ(kind.type, expected[i].type);
        EXPECT_EQ(kind.normalised, expected[i].normalised);
    }
    EXPECT_EQ(kind_of(attribute(9)).components, 0u);
    EXPECT_EQ(kind_of(attribute(9)).name, nullptr);
    EXPECT_EQ(stride_of(*make_layout({attribute::position, attribute::rgba, attribute::texcoord2})), 9u);
    EXPECT_EQ(stride_of(*make_layout({attribute::vector3w, attribute::matrix3w})), 20u);
    EXPECT_EQ(empty_layout()->size(), 0u);
}

TEST_F(Arrays, UploadsNoMoreThanIsGivenOrFits) {
    const std::vector<float> values = counting(12);
    array_buffer_t array;
    EXPECT_EQ(array.id(), no_object);
    ASSERT_TRUE(array.allocate(2, make_layout({attribute::position}), values.data()));
    EXPECT_EQ(contents(array, 6), counting(6));
    EXPECT_EQ(buffer_size(array.id()), 24);

    ASSERT_TRUE(array.allocate(4, make_layout({attribute::position}), values.data(), 8));
    std::vector<float> read = contents(array, 2);
    EXPECT_EQ(read, counting(2));
    ASSERT_TRUE(array.allocate(4, make_layout({attribute::position}), values.data(), 4000));
    EXPECT_EQ(contents(array, 12), counting(12));

    const float one[] = {-1, -2, -3};
    array.upload_one(2, one);
    read = contents(array, 12);
    EXPECT_EQ(read[6], -1);
    EXPECT_EQ(read[8], -3);
    EXPECT_EQ(read[5], 6);
    EXPECT_EQ(read[9], 10);
}

TEST_F(Arrays, RefusesMoreAttributesThanTheContextHas) {
    class wide : public vertex_layout {
    public:
        explicit wide(std::uint32_t entries) : entries_(entries) {}
        std::uint32_t size() const override { return entries_; }
        attribute kind(std::uint32_t) const override { return attribute::point_size; }

    private:
        std::uint32_t entries_;
    };
    GLint most = 0;
    glGetIntegerv(GL_MAX_VERTEX_ATTRIBS, &most);
    array_buffer_t array;
    EXPECT_FALSE(array.allocate(1, std::make_shared<wide>(most + 1)));
    EXPECT_EQ(array.count(), 0u);
    EXPECT_TRUE(array.allocate(1, std::make_shared<wide>(most)));
}

TEST_F(Arrays, GrowsFourfoldKeepingTheContents) {
    const std::vector<float> values = counting(30);
    array_buffer_t array;
    EXPECT_FALSE(array.resize(5)) << "nothing allocated yet";
    ASSERT_TRUE(array.allocate(10, make_layout({attribute::normal}), values.data()));
    ASSERT_TRUE(array.resize(11));
    EXPECT_EQ(array.count(), 11u);
    EXPECT_EQ(array.capacity(), 44u * 12);
    EXPECT_EQ(buffer_size(array.id()), 44 * 12);
    EXPECT_EQ(contents(array, 30), values);
    ASSERT_TRUE(array.resize(3));
    EXPECT_EQ(array.capacity(), 44u * 12);
    EXPECT_TRUE(array.fits(44));
    EXPECT_FALSE(array.fits(45));
    EXPECT_FALSE(array.grow(44)) << "nothing to do";
    EXPECT_TRUE(array.grow(45));
    EXPECT_EQ(array.capacity(), 45u * 12);
    EXPECT_EQ(contents(array, 30), values);

    array_buffer_t none;
    EXPECT_FALSE(none.grow(7));
    EXPECT_EQ(none.id(), no_object);
}

TEST_F(Arrays, CopiesShareTheBufferAndTheLastDeletesIt) {
    gl_uint name = 0;
    {
        array_buffer_t first;
        ASSERT_TRUE(first.allocate(1, make_layout({attribute::position})));
        name = first.id();
        array_buffer_t second = first;
        EXPECT_EQ(second.id(), name);
        first.release();
        EXPECT_TRUE(glIsBuffer(name));
        EXPECT_EQ(first.id(), no_object);
    }
    EXPECT_FALSE(glIsBuffer(name));

    gl_uint vertex_array = 0;
    {
        vertex_array_t first;
        EXPECT_EQ(first.id(), no_object);
        first.create();
        vertex_array = first.id();
        first.create();
        EXPECT_EQ(first.id(), vertex_array) << "generated once";
        glBindVertexArray(vertex_array);
        glBindVertexArray(0);
        vertex_array_t second = first;
        first.destroy();
        EXPECT_TRUE(glIsVertexArray(vertex_array));
    }
    EXPECT_FALSE(glIsVertexArray(vertex_array));
}

TEST_F(Arrays, LayoutGoesToConsecutiveLocations) {
    array_buffer_t array;
    ASSERT_TRUE(array.allocate(2, make_layout({attribute::position, attribute::rgba, attribute::texcoord2})));
    vertex_array_t vertex_array;
    array.bind_layout_to(vertex_array, 0); // not created: nothing happens
    vertex_array.create();
    array.bind_layout_to(vertex_array, 3);

    const struct {
        GLuint location;
        GLint size, normalised;
        std::uintptr_t offset;
    } expected[] = {{3, 3, 0, 0}, {4, 4, 1, 12}, {5, 2, 0, 28}};
    glBindVertexArray(vertex_array.id());
    for (const auto& entry : expected) {
        const auto get = [&](GLenum what) {
            GLint value = -1;
            glGetVertexAttribiv(entry.location, what, &value);
            return value;
        };
        void* offset = nullptr;
        glGetVertexAttribPointerv(entry.location, GL_VERTEX_ATTRIB_ARRAY_POINTER, &offset);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_ENABLED), 1);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_SIZE), entry.size);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_TYPE), GL_FLOAT);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_NORMALIZED), entry.normalised);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_STRIDE), 36);
        EXPECT_EQ(get(GL_VERTEX_ATTRIB_ARRAY_BUFFER_BINDING), GLint(array.id()));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(offset), entry.offset);
    }
    GLint enabled = 1;
    glGetVertexAttribiv(6, GL_VERTEX_ATTRIB_ARRAY_ENABLED, &enabled);
    EXPECT_EQ(enabled, 0);
    glBindVertexArray(0);
}

TEST_F(Arrays, MatrixKindIsLeftToTheGLToRefuse) {
    array_buffer_t array;
    ASSERT_TRUE(array.allocate(2, make_layout({attribute::matrix3w})));
    EXPECT_EQ(array.stride(), 16u);
    vertex_array_t vertex_array;
    vertex_array.create();
    array.bind_layout_to(vertex_array, 0);
    EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Arrays, MappingNothingIsReported) {
    array_buffer_t array;
    EXPECT_EQ(array.map(), nullptr);
    EXPECT_EQ(take_err(), "array buffer is not allocated.\n");
    element_array_t elements;
    EXPECT_EQ(elements.map(), nullptr);
    EXPECT_EQ(take_err(), "element object is not allocated.\n");

    // A store of no bytes exists but cannot be mapped.
    ASSERT_TRUE(array.allocate(0, make_layout({attribute::position})));
    EXPECT_EQ(array.map(), nullptr);
    EXPECT_EQ(take_err(), "buffer_t::MapBufferRange(): ptr is NULL.\narray pointer is NULL.\n");
    EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
    ASSERT_TRUE(elements.allocate(0));
    EXPECT_EQ(elements.map(), nullptr);
    EXPECT_EQ(take_err(), "buffer_t::MapBufferRange(): ptr is NULL.\nelement pointer is NULL.\n");
    EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
}

TEST_F(Arrays, ElementsAreAllocatedOnceForOneCount) {
    element_array_t elements;
    const test_support::watched<&__glewBufferData> stores(false);
    ASSERT_TRUE(elements.allocate(3));
    ASSERT_TRUE(elements.allocate(3));
    EXPECT_EQ(stores.calls(), 1);
    const std::uint32_t indices[] = {0, restart_index, 2};
    elements.upload(indices);
    std::ostringstream printed;
    elements.print(printed);
    EXPECT_EQ(printed.str(), "0, -1, 2\n");
    ASSERT_TRUE(elements.allocate(2));
    EXPECT_EQ(stores.calls(), 2);
    EXPECT_EQ(elements.capacity(), 12u) << "a smaller count keeps the store";
}

TEST_F(Arrays, PrintedIndices) {
    const struct {
        std::vector<std::uint32_t> indices;
        const char* text;
    } cases[] = {
        {{}, "\n"}, {{restart_index}, "-1\n"}, {{restart_index, 4294967294u, 7}, "-1, 4294967294, 7\n"}};
    for (const auto& one : cases) {
        std::ostringstream printed;
        print_indices(printed, one.indices);
        EXPECT_EQ(printed.str(), one.text);
    }
}

// Every GL call is made to fail, so that the label after it shows.
TEST_F(Arrays, ElementStepsAreLabelled) {
    const auto report = [](const char* label, GLenum error) {
        return std::string(label) + ": Error " + std::to_string(error) + ": " +
               reinterpret_cast<const char*>(gluErrorString(error)) + "\n";
    };
    const std::string a = "element_array_t::allocate", d = "element_array_t::draw";
    element_array_t elements;
    vertex_array_t vertex_array;
    vertex_array.create();
    {
        const test_support::watched<&__glewGenBuffers> made;
        const test_support::watched<&__glewBindBuffer> bound;
        const test_support::watched<&__glewBufferData> stored;
        ASSERT_TRUE(elements.allocate(3)) << "GL errors are no failures";
        EXPECT_EQ(take_err(), report((a + "(1)").c_str(), GL_INVALID_ENUM) +
                                  report((a + "(2)").c_str(), GL_INVALID_ENUM) +
                                  report((a + "(3)").c_str(), GL_INVALID_ENUM) +
                                  "elements: 3\nbuffer_size: 12\n" +
                                  report((a + "(end)").c_str(), GL_INVALID_ENUM));
    }
    const std::uint32_t indices[] = {0, 1, 2};
    elements.upload(indices);
    {
        const test_support::watched<&__glewBindVertexArray> arrays;
        const test_support::watched<&__glewBindBuffer> buffers;
        glEnable(0xFFFF);
        elements.draw(vertex_array, primitive(0xFFFF));
        std::string expected;
        for (const char* step : {"(0)", "(1)", "(2)", "(3)", "(4)", "(end)"}) {
            expected += report((d + step).c_str(), GL_INVALID_ENUM);
        }
        EXPECT_EQ(take_err(), expected);
    }
    element_array_t none;
    none.draw(vertex_array, primitive::triangles);
}

// What the GL refuses is reported by the call that asked for it, and what was pending before it.
TEST_F(Arrays, ErrorsAreReportedWhereTheyArise) {
    const auto lengthy = std::uint64_t(1) << 60;
    array_buffer_t array, grown;
    element_array_t elements;
    ASSERT_TRUE(array.allocate(1, make_layout({attribute::position})));
    ASSERT_TRUE(grown.allocate(1, make_layout({attribute::position})));
    ASSERT_TRUE(elements.allocate(1));
    const float vertices[6] = {};
    const std::uint32_t indices[2] = {};
    const struct {
        const char* name;
        std::function<void()> fails;
    } cases[] = {{"array_buffer_t::upload", [&] { array.upload_range(0, 2, vertices); }},
                 {"array_buffer_t::grow", [&] { grown.grow(lengthy); }},
                 {"array_buffer_t::allocate", [&] { array.allocate(lengthy, array.layout()); }},
                 {"element_array_t::upload", [&] { elements.upload(indices); }}};
    for (const auto& one : cases) {
        glEnable(0xFFFF);
        one.fails();
        EXPECT_EQ(step_labels(), one.name + std::string("(1)\n") + one.name + "(end)\n");
    }
}

TEST_F(Arrays, SizesThatCannotBeAreReportedByTheGL) {
    element_array_t elements;
    ASSERT_TRUE(elements.allocate(std::uint64_t(1) << 62));
    const std::string reported = take_err();
    EXPECT_NE(reported.find("element_array_t::allocate(3): Error "), std::string::npos) << reported;
    EXPECT_NE(reported.find("elements: 4611686018427387904\nbuffer_size: "), std::string::npos) << reported;
    EXPECT_EQ(elements.map(), nullptr);
    take_err();
    while (glGetError() != GL_NO_ERROR) {
    }

    array_buffer_t array;
    ASSERT_TRUE(array.allocate(1, make_layout({attribute::position})));
    EXPECT_FALSE(array.fits(~std::uint64_t(0)));
}

} // namespace
