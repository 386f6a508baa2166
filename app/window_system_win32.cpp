#include "app/window_system.h"

#include <windows.h>

#include <GL/gl.h>

#include <array>
#include <cstddef>
#include <optional>
#include <utility>

namespace gems {

namespace {

void do_not_wait_for_display() {
    using swap_interval = BOOL(WINAPI*)(int);
    // The address is null, or one of a few small numbers with some drivers, where the extension is missing.
    const auto address = reinterpret_cast<INT_PTR>(wglGetProcAddress("wglSwapIntervalEXT"));
    if (address > 3) reinterpret_cast<swap_interval>(address)(0);
}

// Stands before GLUT's window procedure.
class win32_window final : public window_system {
public:
    explicit win32_window(HWND window) : window_(window) {
        SetPropA(window_, property, this);
        inner_ = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
        read_layout();
    }
    ~win32_window() override {
        if (!window_) return;
        SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(inner_));
        RemovePropA(window_, property);
    }
    win32_window(const win32_window&) = delete;
    win32_window& operator=(const win32_window&) = delete;

    bool focus_lost() override {
        const bool lost = lost_;
        lost_ = false;
        return lost;
    }

    unsigned went_down_as(unsigned told) override {
        // The two cases of a letter are one key to whoever listens.
        if (!released_ || told >= first_special || letter_cases()[told][*released_]) return told;
        return *released_;
    }

private:
    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM parameter1, LPARAM parameter2) {
        const auto self = static_cast<win32_window*>(GetPropA(window, property));
        if (!self) return DefWindowProcA(window, message, parameter1, parameter2);
        const WNDPROC inner = self->inner_;
        switch (message) {
        case WM_KILLFOCUS:
            self->lost_ = true;
            self->typed_ = {};
            break;
        case WM_CHAR:
        case WM_SYSCHAR:
            if (!is_repetition_of_key(parameter2))
                self->typed_[key_of(parameter2)] = static_cast<unsigned char>(parameter1);
            break;
        case WM_INPUTLANGCHANGE:
            self->read_layout();
            break;
        case WM_SYSCOMMAND:
            // A lone Alt or F10 would open the system menu, which keeps the keys that follow for itself.
            if ((parameter1 & 0xFFF0) == SC_KEYMENU) return 0;
            break;
        case WM_KEYUP:
        case WM_SYSKEYUP: {
            const auto character = std::exchange(self->typed_[key_of(parameter2)], std::nullopt);
            if (parameter1 <= 0xFF && has_number_of_a_character(parameter1))
                return DefWindowProcA(window, message, parameter1, parameter2);
            self->released_ = character;
            const LRESULT result = CallWindowProcA(inner, window, message, parameter1, parameter2);
            if (GetPropA(window, property) == self) self->released_.reset(); // not gone meanwhile
            return result;
        }
        case WM_NCDESTROY:
            self->window_ = nullptr;
            RemovePropA(window, property);
            break;
        }
        return CallWindowProcA(inner, window, message, parameter1, parameter2);
    }

    // The scan code, with the bit that tells the keys of the right side from those of the left.
    static std::size_t key_of(LPARAM of_message) {
        return static_cast<std::size_t>(of_message >> 16) & 0x1FF;
    }
    static bool is_repetition_of_key(LPARAM of_message) { return of_message >> 30 & 1; }

    // GLUT reports the release of a key without a character under the key's own number, which for these is
    // the code of a character that plays a note: ',' '/' '[' '\\' ']'.
    static bool has_number_of_a_character(WPARAM key) {
        return key == VK_SNAPSHOT || key == VK_HELP || key == VK_LWIN || key == VK_RWIN || key == VK_APPS;
    }

    void read_layout() {
        key_siblings siblings = letter_cases();
        SHORT number_of[256];
        for (int c = 0; c < 256; ++c) {
            const SHORT found = VkKeyScanA(static_cast<CHAR>(c));
            number_of[c] = found == -1 ? -1 : found & 0xFF;
        }
        for (unsigned a = 0; a < 256; ++a)
            for (unsigned b = 0; b < 256; ++b)
                if (a != b && number_of[a] != -1 && number_of[a] == number_of[b]) siblings[a].set(b);
        layout_.siblings.fill(siblings);
        // GLUT reports the release of a key that has no character with the modifiers of that moment under the
        // key's own number, and with Control down under its control character if it has one.
        for (unsigned modifiers = 0; modifiers < layout_.siblings.size(); ++modifiers)
            for (unsigned c = '!'; c < 256; ++c) {
                if (number_of[c] == -1) continue;
                auto& of = layout_.siblings[modifiers];
                of[static_cast<unsigned>(number_of[c])].set(c);
                if (modifiers & 2 && c >= '@' && c < 127) of[c & 31].set(c);
            }
    }

    static constexpr char property[] = "quenvarel";
    HWND window_;
    WNDPROC inner_ = nullptr;
    bool lost_ = false;
    std::array<std::optional<unsigned char>, 512> typed_; // by each key that is down
    std::optional<unsigned char> released_;               // while a release is on its way through GLUT
};

} // namespace

std::unique_ptr<window_system> window_system::of_current_window() {
    const HWND window = WindowFromDC(wglGetCurrentDC());
    if (!window) return nullptr;
    do_not_wait_for_display();
    return std::make_unique<win32_window>(window);
}

} // namespace gems
