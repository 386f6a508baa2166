#pragma once
// Any math value with a tag that names its type, for printing.

#include "render/math/types.h"

#include <cstdint>
#include <cstring>
#include <iosfwd>

namespace render {

// The tag of each type. 24 to 27, 32 to 34 and everything above 35 stand for nothing.
// clang-format off
template <class T> inline constexpr std::uint32_t mathvalue_tag = 0xFFFFFFFF;
template <> inline constexpr std::uint32_t mathvalue_tag<float> = 0;
template <> inline constexpr std::uint32_t mathvalue_tag<pos3> = 1;
template <> inline constexpr std::uint32_t mathvalue_tag<dir3> = 2;
template <> inline constexpr std::uint32_t mathvalue_tag<pos2> = 3;
template <> inline constexpr std::uint32_t mathvalue_tag<dir2> = 4;
template <> inline constexpr std::uint32_t mathvalue_tag<pos2l> = 5;
template <> inline constexpr std::uint32_t mathvalue_tag<dir2l> = 6;
template <> inline constexpr std::uint32_t mathvalue_tag<qua> = 7;
template <> inline constexpr std::uint32_t mathvalue_tag<rot3> = 8;
template <> inline constexpr std::uint32_t mathvalue_tag<pst3w> = 9;
template <> inline constexpr std::uint32_t mathvalue_tag<plr3> = 10;
template <> inline constexpr std::uint32_t mathvalue_tag<ang3> = 11;
template <> inline constexpr std::uint32_t mathvalue_tag<rev3> = 12;
template <> inline constexpr std::uint32_t mathvalue_tag<srt3> = 13;
template <> inline constexpr std::uint32_t mathvalue_tag<irt3> = 14;
template <> inline constexpr std::uint32_t mathvalue_tag<vec3w> = 15;
template <> inline constexpr std::uint32_t mathvalue_tag<col3> = 16;
template <> inline constexpr std::uint32_t mathvalue_tag<col3a> = 17;
template <> inline constexpr std::uint32_t mathvalue_tag<txc1> = 18;
template <> inline constexpr std::uint32_t mathvalue_tag<txc2> = 19;
template <> inline constexpr std::uint32_t mathvalue_tag<txc2q> = 20;
template <> inline constexpr std::uint32_t mathvalue_tag<txc3> = 21;
template <> inline constexpr std::uint32_t mathvalue_tag<txc3q> = 22;
template <> inline constexpr std::uint32_t mathvalue_tag<mtx3w> = 23;
template <> inline constexpr std::uint32_t mathvalue_tag<col3aub> = 28;
template <> inline constexpr std::uint32_t mathvalue_tag<col3ub> = 29;
template <> inline constexpr std::uint32_t mathvalue_tag<col1aub> = 30;
template <> inline constexpr std::uint32_t mathvalue_tag<col1ub> = 31;
template <> inline constexpr std::uint32_t mathvalue_tag<projection> = 35;

template <class T> concept mathvalue_payload = (mathvalue_tag<T> != 0xFFFFFFFF);
// clang-format on

struct mathvalue {
    std::uint32_t tag = 0;
    alignas(8) unsigned char payload[sizeof(mtx3w)] = {};

    mathvalue() = default; // the float 0
    template <mathvalue_payload T>
    mathvalue(const T& value) : tag(mathvalue_tag<T>) {
        static_assert(sizeof(T) <= sizeof payload);
        std::memcpy(payload, &value, sizeof value);
    }
    // The payload read as a T; meaningful when the tag is that of T.
    template <mathvalue_payload T>
    T as() const {
        T value;
        std::memcpy(&value, payload, sizeof value);
        return value;
    }
};

// The text form of the value that the tag names ("float(" for tag 0), and nothing for tags that stand for
// nothing.
std::ostream& operator<<(std::ostream& os, const mathvalue& v);

} // namespace render
