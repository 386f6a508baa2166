// Buffers, vertex arrays and the two arrays of a surface, on the GPU.

#include "render/gl/array_buffer.h"
#include "render/gl/element_array.h"
#include "support/gl_context.h"
#include "support/gl_faults.h"

#include <numeric>
#include <sstream>

namespace {

using namespace render;

class Arrays : public test_support::gl_test {
protected:
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
        all << kind.name << ' ' << kind.components << std::hex << ' ' << kind.type << ' ' << kind.normalised
            << ", ";
    }
    EXPECT_EQ(all.str(),
              "Position 3 1406 0, Normal 3 1406 1, RGBA 4 1406 1, TexCoord3 3 1406 0, TexCoord2 2 1406 0, "
              "PointSize 1 1406 0, ID 1 1405 0, Vector3w 4 0 0, Matrix3w 10 0 0, ");
    EXPECT_EQ(kind_of(attribute(9)).components, 0u);
}

TEST_F(Arrays, UploadsNoMoreThanIsGivenOrFits) {
    const std::vector<float> values = counting(12);
    array_buffer_t array;
    EXPECT_EQ(array.map(), nullptr);
    EXPECT_EQ(element_array_t().map(), nullptr);
    EXPECT_EQ(take_err(), "array buffer is not allocated.\nelement object is not allocated.\n");
    ASSERT_TRUE(array.allocate(2, positions, values.data()));
    EXPECT_EQ(contents(array, 6), counting(6));
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
}

TEST_F(Arrays, GrowsFourfoldKeepingTheContents) {
    const std::vector<float> values = counting(30);
    array_buffer_t array;
    EXPECT_FALSE(array.resize(5)) << "nothing allocated yet";
    ASSERT_TRUE(array.allocate(10, make_layout({attribute::normal}), values.data()));
    ASSERT_TRUE(array.resize(11));
    EXPECT_EQ(array.count(), 11u);
    EXPECT_EQ(array.capacity(), 44u * 12);
    EXPECT_EQ(contents(array, 30), values);
    EXPECT_TRUE(array.fits(44));
    EXPECT_FALSE(array.fits(45));
    EXPECT_TRUE(array.grow(45));
    EXPECT_EQ(array.capacity(), 45u * 12);
}

TEST_F(Arrays, CopiesShareTheObjectAndTheLastDeletesIt) {
    gl_uint buffer = 0, vertex_array = 0;
    {
        array_buffer_t first;
        ASSERT_TRUE(first.allocate(1, positions));
        const array_buffer_t second = first;
        buffer = second.id();
        vertex_array_t drawn;
        drawn.create();
        vertex_array = drawn.id();
        second.bind_layout_to(drawn, 0);
        const vertex_array_t copy = drawn;
        first.release();
        drawn.destroy();
        EXPECT_TRUE(glIsBuffer(buffer) && glIsVertexArray(vertex_array));
    }
    EXPECT_FALSE(glIsBuffer(buffer) || glIsVertexArray(vertex_array));
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
    EXPECT_EQ(printed.str(), "0, -1, 2\n0, -1, 4294967294\n");
}

} // namespace
