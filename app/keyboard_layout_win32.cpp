#include "app/key_places.h"

#include <windows.h>

namespace quenvarel {

namespace {

class win32_layout final : public keyboard_layout {
public:
    unsigned place_of(unsigned scan_code) const override { return scan_code; }

    char32_t written(unsigned place, bool with_shift) const override {
        const UINT key = MapVirtualKeyExW(place, MAPVK_VSC_TO_VK, layout_);
        if (key == 0) return 0;
        if (!with_shift) {
            // A dead key has the uppermost bit. Letters are told as capitals.
            const UINT character = MapVirtualKeyExW(key, MAPVK_VK_TO_CHAR, layout_) & 0xFFFF;
            return character >= 'A' && character <= 'Z' ? character - 'A' + 'a' : character;
        }
        BYTE state[256] = {};
        state[VK_SHIFT] = 0x80;
        WCHAR text[8] = {};
        constexpr UINT keep_dead_keys = 4; // those that the player has typed
        return ToUnicodeEx(key, place, state, text, 8, keep_dead_keys, layout_) == 0 ? 0 : text[0];
    }

    bool update() override {
        const HKL before = layout_;
        layout_ = GetKeyboardLayout(0);
        return layout_ != before;
    }

private:
    HKL layout_ = GetKeyboardLayout(0);
};

} // namespace

std::unique_ptr<keyboard_layout> keyboard_layout::of_current_window() {
    return std::make_unique<win32_layout>();
}

} // namespace quenvarel
