#include "app/window_system.h"

#include <windows.h>

#include <GL/gl.h>

#include <array>
#include <atomic>
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

// Who is told of the bell; a message in its queue, so that it hears it also while the user moves the window.
constexpr UINT bell_message = WM_APP + 0x51;
std::atomic<HWND> hears_bell = nullptr;
std::atomic<bool> bell_rings = false;

void post_ring() {
    const HWND window = hears_bell;
    if (window && !PostMessageA(window, bell_message, 0, 0)) bell_rings = false;
}

// Stands before GLUT's window procedure.
class win32_window final : public window_system {
public:
    win32_window(HWND window, const window_callbacks& call) : window_(window), call_(call) {
        SetPropA(window_, property, this);
        inner_ = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(procedure)));
    }
    ~win32_window() override {
        hears_bell = nullptr;
        if (!window_) return;
        SetWindowLongPtrA(window_, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(inner_));
        RemovePropA(window_, property);
    }
    win32_window(const win32_window&) = delete;
    win32_window& operator=(const win32_window&) = delete;

    // Keys without a character are known by what they give: both Shift keys may come up in one message.
    std::optional<unsigned> place_of_key(unsigned gives, bool pressed) override {
        if (gives >= first_special || !place_) return std::nullopt;
        if (pressed) down_[*place_] = virtual_key_;
        return place_;
    }

    void answer_rings(void (*answer)()) override {
        answer_ = answer;
        hears_bell = window_;
        if (bell_rings) post_ring();
    }

    std::optional<keyboard_news> next_news() override {
        if (std::exchange(lost_, false)) return keyboard_news{keyboard_news::lost};
        if (std::exchange(regained_, false))
            forget_keys_up([](UINT key) { return GetAsyncKeyState(static_cast<int>(key)) < 0; });
        if (!still_down_) return std::nullopt;
        return keyboard_news{keyboard_news::regained, 0, *std::exchange(still_down_, std::nullopt)};
    }

private:
    // Another window may have got the release of a key, and a window that is without the keyboard for a
    // moment only is told nothing. So each message of a key says which others are down: the state as of this
    // message, not that of now, which knows of messages that still wait.
    void look_for_missed_releases(unsigned place, bool was_down) {
        BYTE state[256];
        if (!GetKeyboardState(state)) return;
        forget_keys_up(
            [&](UINT& key) { return &key == &down_[place] ? was_down : (state[key] & 0x80) != 0; });
    }

    template <class IsDown>
    void forget_keys_up(IsDown is_down) {
        bool any = false;
        for (UINT& key : down_)
            if (key && !is_down(key)) {
                key = 0;
                any = true;
            }
        if (!any) return;
        still_down_.emplace();
        for (unsigned place = 0; place < key_places; ++place)
            (*still_down_)[place] = down_[place] != 0;
    }

    static bool is_key(UINT message) {
        return message == WM_KEYDOWN || message == WM_SYSKEYDOWN || message == WM_KEYUP ||
               message == WM_SYSKEYUP;
    }

    // Handles the messages of a key that counts by its place, with those of the characters that it types.
    bool counts_by_place(UINT message, unsigned place) {
        if (message == WM_KEYDOWN || message == WM_SYSKEYDOWN) {
            by_place_[place] = call_.placed_key(place, true);
            if (by_place_[place]) down_[place] = virtual_key_;
        } else if (!by_place_[place]) {
            return false;
        } else if (message == WM_KEYUP || message == WM_SYSKEYUP) {
            down_[place] = 0;
            by_place_[place] = false;
            call_.placed_key(place, false);
            return true;
        } else if (message == WM_DEADCHAR || message == WM_SYSDEADCHAR) {
            // Else the accent would be on the next character, such as the one of a command.
            const BYTE no_keys[256] = {};
            WCHAR accent[8];
            ToUnicode(VK_SPACE, 0, no_keys, accent, 8, 0);
        }
        return by_place_[place];
    }

    static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM parameter1, LPARAM parameter2) {
        const auto self = static_cast<win32_window*>(GetPropA(window, property));
        if (!self) return DefWindowProcA(window, message, parameter1, parameter2);
        const WNDPROC inner = self->inner_;
        switch (message) {
        case WM_KILLFOCUS:
            self->lost_ = true;
            self->regained_ = false;
            self->call_.news_waits();
            break;
        case WM_SETFOCUS:
            self->regained_ = true;
            self->call_.news_waits();
            break;
        case WM_INPUTLANGCHANGE:
            self->call_.news_waits();
            break;
        case WM_KEYDOWN:
        case WM_SYSKEYDOWN:
        case WM_CHAR:
        case WM_SYSCHAR:
        case WM_DEADCHAR:
        case WM_SYSDEADCHAR:
        case WM_KEYUP:
        case WM_SYSKEYUP: {
            // The scan code, with the bit that tells the keys of the right side from those of the left.
            const unsigned place = static_cast<unsigned>(parameter2 >> 16) & 0x1FF;
            if (message == WM_KEYDOWN || message == WM_SYSKEYDOWN)
                self->virtual_key_ = static_cast<UINT>(parameter1) & 0xFF;
            if (is_key(message)) self->look_for_missed_releases(place, parameter2 & (1 << 30));
            if (self->counts_by_place(message, place)) return 0;
            self->place_ = place;
            const LRESULT result = CallWindowProcA(inner, window, message, parameter1, parameter2);
            if (GetPropA(window, property) != self) return result; // gone meanwhile
            self->place_.reset();
            if (message == WM_KEYUP || message == WM_SYSKEYUP) self->down_[place] = 0;
            return result;
        }
        case bell_message:
            if (bell_rings.exchange(false) && self->answer_) self->answer_();
            return 0;
        case WM_SYSCOMMAND:
            // A lone Alt or F10 would open the system menu, which keeps the keys that follow for itself.
            if ((parameter1 & 0xFFF0) == SC_KEYMENU) return 0;
            break;
        case WM_NCDESTROY:
            self->window_ = nullptr;
            RemovePropA(window, property);
            break;
        }
        return CallWindowProcA(inner, window, message, parameter1, parameter2);
    }

    static constexpr char property[] = "quenvarel";
    HWND window_;
    window_callbacks call_;
    WNDPROC inner_ = nullptr;
    bool lost_ = false, regained_ = false; // the keyboard, in this order
    std::array<UINT, key_places> down_{};  // by place, the virtual keys of those that are down, else 0
    UINT virtual_key_ = 0;                 // the last to go down
    key_set by_place_;                     // those of the keys that are down that count by their place
    std::optional<key_set> still_down_;    // where the release of others has been missed
    std::optional<unsigned> place_;        // of the key whose message is on its way through GLUT
    void (*answer_)() = nullptr;
};

} // namespace

void window_system::ring() noexcept {
    if (!bell_rings.exchange(true)) post_ring();
}

std::unique_ptr<window_system> window_system::of_current_window(const window_callbacks& call) {
    const HWND window = WindowFromDC(wglGetCurrentDC());
    if (!window) return nullptr;
    do_not_wait_for_display();
    return std::make_unique<win32_window>(window, call);
}

} // namespace gems
