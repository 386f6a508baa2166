#include "render/math/text.h"

#include "render/math/mathvalue.h"

#include <charconv>
#include <concepts>
#include <cstring>
#include <locale>
#include <ostream>
#include <string_view>
#include <tuple>

namespace render {

namespace {

class flags_kept {
public:
    explicit flags_kept(std::ios_base& stream) : stream_(stream), before_(stream.flags()) {}
    ~flags_kept() { stream_.flags(before_); }
    flags_kept(const flags_kept&) = delete;
    flags_kept& operator=(const flags_kept&) = delete;

private:
    std::ios_base& stream_;
    std::ios_base::fmtflags before_;
};

// Where the pieces of a text form go: to the stream one by one, obeying all its settings, ...
struct stream_sink {
    std::ostream& os;
    void text(std::string_view piece) { os << piece; }
    template <class Number>
    void number(Number value) {
        os << value;
    }
};

// ... or, when those settings are the plain ones, into a buffer that reaches the stream in one write.
class buffer_sink {
public:
    explicit buffer_sink(int precision) : precision_(precision) {}
    void text(std::string_view piece) {
        std::memcpy(at_, piece.data(), piece.size());
        at_ += piece.size();
    }
    void number(double value) {
        at_ = std::to_chars(at_, std::end(buffer_), value, std::chars_format::fixed, precision_).ptr;
    }
    void number(std::int32_t value) { at_ = std::to_chars(at_, std::end(buffer_), value).ptr; }
    void number(std::uint64_t value) { at_ = std::to_chars(at_, std::end(buffer_), value).ptr; }
    std::string_view all() const { return {buffer_, std::size_t(at_ - buffer_)}; }

    static constexpr int precision_limit = 17;

private:
    // Enough for the longest forms: six doubles of up to 310 digits before the point, or 35 floats of up
    // to 40.
    char buffer_[4096];
    char* at_ = buffer_;
    int precision_;
};

bool is_plain(const std::ostream& os) {
    using ios = std::ios_base;
    return os.width() == 0 && os.precision() >= 0 && os.precision() <= buffer_sink::precision_limit &&
           !(os.flags() & (ios::showpos | ios::showpoint | ios::uppercase)) &&
           os.getloc() == std::locale::classic();
}

// The opening of each type's form and its components.
// clang-format off
auto form(const pos3& v) { return std::tuple("pos3(", v.x, v.y, v.z); }
auto form(const dir3& v) { return std::tuple("dir3(", v.x, v.y, v.z); }
auto form(const pos2& v) { return std::tuple("pos2(", v.x, v.y); }
auto form(const dir2& v) { return std::tuple("dir2(", v.x, v.y); }
auto form(const pos2l& v) { return std::tuple("pos2l(", v.x, v.y); }
auto form(const dir2l& v) { return std::tuple("dir2l(", v.x, v.y); }
auto form(const vec3w& v) { return std::tuple("vec3w(", v.x, v.y, v.z, v.w); }
auto form(const qua& v) { return std::tuple("qua(", v.w, v.x, v.y, v.z); }
auto form(const rot3& v) { return std::tuple("rot3(", v.angle, v.axis); }
auto form(const plr3& v) { return std::tuple("plr3(", v.radius, v.theta, v.phi); }
auto form(const ang3& v) { return std::tuple("ang3(", v.heading, v.pitch, v.bank); }
auto form(const rev3& v) { return std::tuple("rev3(", v.x, v.y, v.z); }
auto form(const pst3w& v) { return std::tuple("pst3w(", v.frame, v.turn, v.position); }
auto form(const srt3& v) { return std::tuple("srt3(", v.scalar, v.direction); }
auto form(const irt3& v) { return std::tuple("irt3(", v.turn, v.scale); }
auto form(const col3& v) { return std::tuple("col3(", v.r, v.g, v.b); }
auto form(const col3a& v) { return std::tuple("col3a(", v.r, v.g, v.b, v.a); }
auto form(const txc1& v) { return std::tuple("txc1(", v.s); }
auto form(const txc2& v) { return std::tuple("txc2(", v.s, v.t); }
auto form(const txc2q& v) { return std::tuple("txc2q(", v.s, v.t, v.q); }
auto form(const txc3& v) { return std::tuple("txc3(", v.s, v.t, v.r); }
auto form(const txc3q& v) { return std::tuple("txc3q(", v.s, v.t, v.r, v.q); }
auto form(const box2& v) { return std::tuple("box2(", v.min, v.max); }
auto form(const box3& v) { return std::tuple("box3(", v.min, v.max); }
auto form(const dim2& v) { return std::tuple("dim2(", v.width, v.height); }
auto form(const dim3& v) { return std::tuple("dim3(", v.width, v.height, v.depth); }
auto form(const surface& v) { return std::tuple("surface(", v.a, v.b, v.c, v.d); }
auto form(const line2d& v) { return std::tuple("line2d(", v.a, v.b, v.c); }
auto form(const line3d& v) { return std::tuple("line3d(", v.direction, v.into, v.back); }
auto form(const projection& v) { return std::tuple("projection(", v.left, v.right, v.bottom, v.top, v.znear, v.zfar); }
// clang-format on
// The tagged float is the one plain number with a form of its own.
struct tagged_float {
    float value;
};
auto form(const tagged_float& v) {
    return std::tuple("float(", v.value);
}

template <class Sink, class T>
void write(Sink& out, const T& v) {
    if constexpr (std::floating_point<T>)
        out.number(double(v));
    else if constexpr (std::integral<T>)
        out.number(v);
    else
        std::apply(
            [&out](const char* opening, const auto& first, const auto&... rest) {
                out.text(opening);
                write(out, first);
                ((out.text(", "), write(out, rest)), ...);
                out.text(")");
            },
            form(v));
}

template <class Sink>
void write(Sink& out, const mtx3w& v) {
    for (int c = 0; c < 4; ++c) {
        out.text(c == 0 ? "mtx3w(\t" : ",\n\t");
        for (int r = 0; r < 4; ++r) {
            if (r > 0) out.text(", ");
            write(out, v[4 * c + r]);
        }
    }
    out.text(")");
}

template <class T>
std::ostream& print(std::ostream& os, const T& v) {
    if (is_plain(os)) {
        buffer_sink buffer(int(os.precision()));
        write(buffer, v);
        return os.write(buffer.all().data(), std::streamsize(buffer.all().size()));
    }
    const flags_kept flags(os);
    os.setf(std::ios_base::fixed, std::ios_base::floatfield);
    os.setf(std::ios_base::dec, std::ios_base::basefield);
    stream_sink stream{os};
    write(stream, v);
    return os;
}

template <class... Byte>
std::ostream& print_bytes(std::ostream& os, std::string_view name, Byte... bytes) {
    const flags_kept flags(os);
    if (os.flags() & std::ios_base::showbase) {
        os << "0x";
        os.unsetf(std::ios_base::showbase);
    }
    os << name << '(';
    const auto print_byte = [&os](std::uint8_t byte) {
        const flags_kept flags_between(os);
        const char fill = os.fill('0');
        os.setf(std::ios_base::hex, std::ios_base::basefield);
        os.setf(std::ios_base::right, std::ios_base::adjustfield);
        os.width(2);
        os << char(byte); // as a character: the base has no say in it
        os.fill(fill);
    };
    (print_byte(bytes), ...);
    return os << ')';
}

} // namespace

// clang-format off
std::ostream& operator<<(std::ostream& os, const pos3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const dir3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const pos2& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const dir2& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const pos2l& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const dir2l& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const vec3w& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const qua& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const rot3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const plr3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const ang3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const rev3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const pst3w& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const srt3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const irt3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const mtx3w& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const col3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const col3a& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const txc1& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const txc2& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const txc2q& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const txc3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const txc3q& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const box2& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const box3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const dim2& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const dim3& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const surface& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const line2d& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const line3d& v) { return print(os, v); }
std::ostream& operator<<(std::ostream& os, const projection& v) { return print(os, v); }

std::ostream& operator<<(std::ostream& os, const col3aub& v) { return print_bytes(os, "col3aub", v.r, v.g, v.b, v.a); }
std::ostream& operator<<(std::ostream& os, const col3ub& v) { return print_bytes(os, "col3ub", v.r, v.g, v.b); }
std::ostream& operator<<(std::ostream& os, const col1aub& v) { return print_bytes(os, "col1aub", v.luminance, v.a); }
std::ostream& operator<<(std::ostream& os, const col1ub& v) { return print_bytes(os, "col1ub", v.luminance); }
// clang-format on

std::ostream& operator<<(std::ostream& os, const frame_record& v) {
    os << "s: " << v.plane << std::endl;
    os << v.matrix << std::endl;
    os << "l: " << v.edges[0] << v.edges[1] << v.edges[2] << std::endl;
    os << "p: " << v.corners[0] << v.corners[1] << v.corners[2] << std::endl;
    for (const auto& row : v.rows)
        os << row[0] << ", " << row[1] << ", " << row[2] << std::endl;
    return os;
}

namespace {

// Prints the value when its tag is one of these types'.
template <class... T>
std::ostream& print_tagged(std::ostream& os, const mathvalue& v) {
    ((v.tag == mathvalue_tag<T> && os << v.as<T>()), ...);
    return os;
}

} // namespace

std::ostream& operator<<(std::ostream& os, const mathvalue& v) {
    if (v.tag == mathvalue_tag<float>) return print(os, tagged_float{v.as<float>()});
    return print_tagged<pos3, dir3, pos2, dir2, pos2l, dir2l, qua, rot3, pst3w, plr3, ang3, rev3, srt3, irt3,
                        vec3w, col3, col3a, txc1, txc2, txc2q, txc3, txc3q, mtx3w, col3aub, col3ub, col1aub,
                        col1ub, projection>(os, v);
}

} // namespace render
