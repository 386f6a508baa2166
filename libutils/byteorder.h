#pragma once
// Converts numbers from a file's byte order to the machine's.

#include <bit>
#include <cstdint>

namespace libutils {

// The same bytes in the opposite order.
constexpr std::uint16_t reversed(std::uint16_t v) {
    return std::uint16_t(v << 8 | v >> 8);
}
constexpr std::uint32_t reversed(std::uint32_t v) {
    return std::uint32_t(reversed(std::uint16_t(v))) << 16 | reversed(std::uint16_t(v >> 16));
}
constexpr std::uint64_t reversed(std::uint64_t v) {
    return std::uint64_t(reversed(std::uint32_t(v))) << 32 | reversed(std::uint32_t(v >> 32));
}

// Turns a number as it was copied out of a file into this machine's number. The order of the virtual
// functions is part of the interface.
class byteorder {
public:
    virtual std::uint16_t to_host16(std::uint16_t value) const = 0;
    virtual std::uint32_t to_host32(std::uint32_t value) const = 0;
    virtual std::uint64_t to_host64(std::uint64_t value) const = 0;
    virtual ~byteorder() = default;
};

// For data in the byte order `Stored`.
template <std::endian Stored>
class byteorder_of final : public byteorder {
public:
    std::uint16_t to_host16(std::uint16_t value) const override { return turn(value); }
    std::uint32_t to_host32(std::uint32_t value) const override { return turn(value); }
    std::uint64_t to_host64(std::uint64_t value) const override { return turn(value); }

private:
    template <class T>
    static constexpr T turn(T value) {
        if constexpr (Stored == std::endian::native)
            return value;
        else
            return reversed(value);
    }
};

using intel_byteorder = byteorder_of<std::endian::little>;
using motorola_byteorder = byteorder_of<std::endian::big>;

} // namespace libutils
