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

    const layout_ref positions = make_layout({attribute::position});
};

TEST_F(Arrays, AttributeKinds) {
    std::ostringstream all;
    for (std::uint32_t i = 0; i < 9; ++i) {
        const attribute_kind kind = kind_of(attribute(i));
        all << kind.name << ' ' << kind.components << ' ' << std::hex << kind.type << std::dec << ' '
            << kind.normalised << ", ";
    }
    EXPECT_EQ(all.str(),
              "Position 3 1406 0, Normal 3 1406 1, RGBA 4 1406 1, TexCoord3 3 1406 0, TexCoord2 2 1406 0, "
              "PointSize 1 1406 0, ID 1 1405 0, Vector3w 4 0 0, Matrix3w 16 0 0, ");
    EXPECT_EQ(kind_of(attribute(9)).components, 0u);
    EXPECT_EQ(kind_of(attribute(9)).name, nullptr);
    EXPECT_EQ(stride_of(*make_layout({attribute::vector3w, attribute::matrix3w})), 20u);
    EXPECT_EQ(empty_layout()->size(), 0u);
}

TEST_F(Arrays, UploadsNoMoreThanIsGivenOrFits) {
    const std::vector<float> values = counting(12);
    array_buffer_t array;
    EXPECT_EQ(array.id(), no_object);
    ASSERT_TRUE(array.allocate(2, positions, values.data()));
    EXPECT_EQ(contents(array, 6), counting(6));
    EXPECT_EQ(buffer_size(array.id()), 24);
    ASSERT_TRUE(array.allocate(4, positions, values.data(), 8));
    EXPECT_EQ(contents(array, 2), counting(2));
    ASSERT_TRUE(array.allocate(4, positions, values.data(), 4000));
    EXPECT_EQ(contents(array, 12), counting(12));

    const float one[] = {-1, -2, -3};
    array.upload_one(2, one);
    EXPECT_EQ(contents(array, 12), (std::vector<float>{1, 2, 3, 4, 5, 6, -1, -2, -3, 10, 11, 12}));
    array.upload_all(values.data());
    EXPECT_EQ(contents(array, 12), values);
}

TEST_F(Arrays, RefusesMoreAttributesThanTheContextHas) {
    struct points : vertex_layout {
        explicit points(int entries) : entries_(std::uint32_t(entries)) {}
        std::uint32_t size() const override { return entries_; }
        attribute kind(std::uint32_t) const override { return attribute::point_size; }
        std::uint32_t entries_;
    };
    array_buffer_t array;
    EXPECT_FALSE(array.allocate(1, std::make_shared<points>(state(GL_MAX_VERTEX_ATTRIBS) + 1)));
    EXPECT_EQ(array.count(), 0u);
    EXPECT_TRUE(array.allocate(1, std::make_shared<points>(state(GL_MAX_VERTEX_ATTRIBS))));
    // A kind that is no attribute is left to the GL to refuse, once there is a vertex array to bind it to.
    ASSERT_TRUE(array.allocate(2, make_layout({attribute::matrix3w})));
    vertex_array_t vertex_array;
    array.bind_layout_to(vertex_array, 0);
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    vertex_array.create();
    array.bind_layout_to(vertex_array, 0);
    EXPECT_NE(glGetError(), GLenum(GL_NO_ERROR));
    clear_errors();
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
    EXPECT_EQ(array.count(), 3u);
    EXPECT_EQ(array.capacity(), 44u * 12);
    EXPECT_TRUE(array.fits(44));
    EXPECT_FALSE(array.fits(45));
    EXPECT_FALSE(array.fits(~std::uint64_t(0)));
    EXPECT_FALSE(array.grow(44)) << "nothing to do";
    EXPECT_TRUE(array.grow(45));
    EXPECT_EQ(array.capacity(), 45u * 12);
    EXPECT_EQ(contents(array, 30), values);
    array_buffer_t none;
    EXPECT_FALSE(none.grow(7));
    EXPECT_EQ(none.id(), no_object);
}

TEST_F(Arrays, CopiesShareTheObjectAndTheLastDeletesIt) {
    gl_uint buffer = 0, vertex_array = 0;
    {
        array_buffer_t first;
        ASSERT_TRUE(first.allocate(1, positions));
        buffer = first.id();
        array_buffer_t second = first;
        first.release();
        EXPECT_EQ(second.id(), buffer);
        EXPECT_TRUE(glIsBuffer(buffer));
        EXPECT_EQ(first.id(), no_object);

        vertex_array_t drawn;
        EXPECT_EQ(drawn.id(), no_object);
        drawn.create();
        vertex_array = drawn.id();
        drawn.create();
        EXPECT_EQ(drawn.id(), vertex_array) << "generated once";
        second.bind_layout_to(drawn, 0);
        vertex_array_t copy = drawn;
        drawn.destroy();
        EXPECT_TRUE(glIsVertexArray(vertex_array));
    }
    EXPECT_FALSE(glIsBuffer(buffer));
    EXPECT_FALSE(glIsVertexArray(vertex_array));
}

TEST_F(Arrays, MappingNothingIsReported) {
    array_buffer_t array;
    element_array_t elements;
    EXPECT_EQ(array.map(), nullptr);
    EXPECT_EQ(elements.map(), nullptr);
    EXPECT_EQ(take_err(), "array buffer is not allocated.\nelement object is not allocated.\n");
    // A store of no bytes exists but cannot be mapped.
    ASSERT_TRUE(array.allocate(0, positions));
    ASSERT_TRUE(elements.allocate(0));
    EXPECT_EQ(array.map(), nullptr);
    EXPECT_EQ(elements.map(), nullptr);
    EXPECT_EQ(take_err(), "buffer_t::MapBufferRange(): ptr is NULL.\narray pointer is NULL.\n"
                          "buffer_t::MapBufferRange(): ptr is NULL.\nelement pointer is NULL.\n");
    clear_errors();
}

TEST_F(Arrays, ElementsAreAllocatedOnceForOneCount) {
    element_array_t elements;
    const test_support::watched<&__glewBufferData> stores(false);
    ASSERT_TRUE(elements.allocate(3));
    ASSERT_TRUE(elements.allocate(3));
    EXPECT_EQ(stores.calls(), 1);
    const std::uint32_t indices[] = {0, restart_index, 2}, other[] = {4294967294u};
    elements.upload(indices);
    std::ostringstream printed;
    elements.print(printed);
    elements.upload(other, 2);
    elements.print(printed);
    print_indices(printed, {});
    print_indices(printed, {indices + 1, 1});
    EXPECT_EQ(printed.str(), "0, -1, 2\n0, -1, 4294967294\n\n-1\n");
    ASSERT_TRUE(elements.allocate(2));
    EXPECT_EQ(stores.calls(), 2);
    EXPECT_EQ(elements.capacity(), 12u) << "a smaller count keeps the store";
}

// What the GL refuses is reported by the call that asked for it, and what was pending before it.
TEST_F(Arrays, ErrorsAreReportedWhereTheyArise) {
    const auto lengthy = std::uint64_t(1) << 60;
    array_buffer_t array, grown;
    element_array_t elements;
    ASSERT_TRUE(array.allocate(1, positions));
    ASSERT_TRUE(grown.allocate(1, positions));
    ASSERT_TRUE(elements.allocate(1));
    const float vertices[6] = {};
    const std::uint32_t indices[2] = {};
    const struct {
        const char* name;
        std::function<void()> fails;
    } cases[] = {{"array_buffer_t::upload", [&] { array.upload_range(0, 2, vertices); }},
                 {"array_buffer_t::grow", [&] { grown.grow(lengthy); }},
                 {"array_buffer_t::allocate", [&] { array.allocate(lengthy, positions); }},
                 {"element_array_t::upload", [&] { elements.upload(indices); }}};
    for (const auto& one : cases) {
        glEnable(0xFFFF);
        one.fails();
        EXPECT_EQ(step_labels(), one.name + std::string("(1)\n") + one.name + "(end)\n");
    }
    ASSERT_TRUE(elements.allocate(lengthy)) << "GL errors are no failures";
    const std::string reported = take_err();
    EXPECT_TRUE(reported.starts_with("element_array_t::allocate(3): Error ")) << reported;
    EXPECT_TRUE(reported.ends_with("\nelements: 1152921504606846976\nbuffer_size: 4611686018427387904\n"))
        << reported;
}

} // namespace
