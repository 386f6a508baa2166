#pragma once
// Surfaces from corners.

#include "pmt3d/surface/polygon.h"

#include <gtest/gtest.h>

namespace test_support {

inline pmt3d::polygon_t surface_of(const std::vector<render::pos3>& corners,
                                   const std::vector<pmt3d::element_t>& elements) {
    pmt3d::polygon_t surface;
    EXPECT_TRUE(surface.allocate(corners.size(), elements.size()));
    for (std::size_t i = 0; i < corners.size(); ++i)
        surface.edit_vertices()[i].position = corners[i];
    std::copy(elements.begin(), elements.end(), surface.edit_elements().begin());
    surface.rebuildpolyids();
    return surface;
}

} // namespace test_support
