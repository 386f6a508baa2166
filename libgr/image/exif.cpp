#include "libgr/image/exif.h"

#include "libutils/byteorder.h"

#include <cstring>

namespace libgr {

namespace {

constexpr std::uint16_t long_type = 4, short_type = 3;
constexpr std::uint16_t exif_directory = 0x8769, pixel_width = 0xA002, pixel_height = 0xA003;
constexpr std::size_t name_bytes = 6, entry_bytes = 12;

// A TIFF structure: directories of 12-byte entries, offsets counted from its first byte.
class tiff {
public:
    tiff(unsigned char* bytes, std::size_t size) : bytes_(bytes), size_(size) {
        static const libutils::intel_byteorder low_first;
        static const libutils::motorola_byteorder high_first;
        if (size < 8) return;
        if (std::memcmp(bytes, "II*\0", 4) == 0) order_ = &low_first;
        if (std::memcmp(bytes, "MM\0*", 4) == 0) order_ = &high_first;
    }
    bool is_valid() const { return order_ != nullptr; }

    std::uint16_t u16(std::size_t at) const {
        std::uint16_t v;
        std::memcpy(&v, bytes_ + at, sizeof v);
        return order_->to_host16(v);
    }
    std::uint32_t u32(std::size_t at) const {
        std::uint32_t v;
        std::memcpy(&v, bytes_ + at, sizeof v);
        return order_->to_host32(v);
    }
    // Where the entry of a directory begins; 0 when there is none.
    std::size_t entry(std::size_t directory, std::uint16_t tag) const {
        if (directory > size_ - 2) return 0;
        const std::size_t count = u16(directory);
        for (std::size_t i = 0, at = directory + 2; i < count && at + entry_bytes <= size_;
             ++i, at += entry_bytes)
            if (u16(at) == tag) return at;
        return 0;
    }
    // Sets the only number of an entry.
    void set_number(std::size_t entry_at, std::uint32_t value) {
        if (entry_at == 0 || u32(entry_at + 4) != 1) return;
        // Turning to the file's order is the same as turning from it.
        if (u16(entry_at + 2) == long_type) {
            const std::uint32_t stored = order_->to_host32(value);
            std::memcpy(bytes_ + entry_at + 8, &stored, sizeof stored);
        } else if (u16(entry_at + 2) == short_type && value <= 0xFFFF) {
            const std::uint16_t stored = order_->to_host16(std::uint16_t(value));
            std::memcpy(bytes_ + entry_at + 8, &stored, sizeof stored);
        }
    }

private:
    unsigned char* bytes_;
    std::size_t size_;
    const libutils::byteorder* order_ = nullptr;
};

} // namespace

void set_exif_size(pixel_bytes& marker, std::uint32_t width, std::uint32_t height) {
    const auto size = std::size_t(marker.size());
    if (size < name_bytes) return;
    tiff notes(marker.data() + name_bytes, size - name_bytes);
    if (!notes.is_valid()) return;
    const std::size_t pointer = notes.entry(notes.u32(4), exif_directory);
    if (pointer == 0) return;
    const std::size_t exif = notes.u32(pointer + 8);
    notes.set_number(notes.entry(exif, pixel_width), width);
    notes.set_number(notes.entry(exif, pixel_height), height);
}

} // namespace libgr
