#pragma once
// The progress of a long load or save.

#include <cstdint>
#include <functional>

namespace pmt3d {

// Called now and then, in units of the work (bytes, lines, triangles); `done` never exceeds `total`. May be
// empty.
using progress_t = std::function<void(std::uint64_t done, std::uint64_t total)>;

} // namespace pmt3d
