#pragma once
// The text form of every value type, for diagnostics: pos3(1.000000, -2.500000, 0.000000). Numbers are in
// fixed notation with the stream's own precision; nested values have their own full form. The stream's
// flags do not change.

#include "render/math/types.h"

#include <iosfwd>

namespace render {

std::ostream& operator<<(std::ostream& os, const pos3& v);
std::ostream& operator<<(std::ostream& os, const dir3& v);
std::ostream& operator<<(std::ostream& os, const pos2& v);
std::ostream& operator<<(std::ostream& os, const dir2& v);
std::ostream& operator<<(std::ostream& os, const pos2l& v);
std::ostream& operator<<(std::ostream& os, const dir2l& v);
std::ostream& operator<<(std::ostream& os, const vec3w& v);
std::ostream& operator<<(std::ostream& os, const qua& v);
std::ostream& operator<<(std::ostream& os, const rot3& v);
std::ostream& operator<<(std::ostream& os, const plr3& v);
std::ostream& operator<<(std::ostream& os, const ang3& v);
std::ostream& operator<<(std::ostream& os, const rev3& v);
std::ostream& operator<<(std::ostream& os, const pst3w& v);
std::ostream& operator<<(std::ostream& os, const srt3& v);
std::ostream& operator<<(std::ostream& os, const irt3& v);
std::ostream& operator<<(std::ostream& os, const mtx3w& v); // four lines, one column each
std::ostream& operator<<(std::ostream& os, const col3& v);
std::ostream& operator<<(std::ostream& os, const col3a& v);
std::ostream& operator<<(std::ostream& os, const txc1& v);
std::ostream& operator<<(std::ostream& os, const txc2& v);
std::ostream& operator<<(std::ostream& os, const txc2q& v);
std::ostream& operator<<(std::ostream& os, const txc3& v);
std::ostream& operator<<(std::ostream& os, const txc3q& v);
std::ostream& operator<<(std::ostream& os, const box2& v);
std::ostream& operator<<(std::ostream& os, const box3& v);
std::ostream& operator<<(std::ostream& os, const dim2& v);
std::ostream& operator<<(std::ostream& os, const dim3& v);
std::ostream& operator<<(std::ostream& os, const surface& v);
std::ostream& operator<<(std::ostream& os, const line2d& v);
std::ostream& operator<<(std::ostream& os, const line3d& v);
std::ostream& operator<<(std::ostream& os, const projection& v);

// Byte colours: each byte is written as '0' and the character with the byte's code, so 0x41 becomes 0A. On a
// stream that shows number bases the text begins with "0x".
std::ostream& operator<<(std::ostream& os, const col3aub& v);
std::ostream& operator<<(std::ostream& os, const col3ub& v);
std::ostream& operator<<(std::ostream& os, const col1aub& v);
std::ostream& operator<<(std::ostream& os, const col1ub& v);

// Several lines, each flushed: the plane, the matrix, the edges, the corners and the three rows, whose
// numbers follow the stream's format.
std::ostream& operator<<(std::ostream& os, const frame_record& v);

} // namespace render
