#pragma once
// GL functions that fail on purpose, to see which step check notices, and that are counted.

#include <GL/glew.h>

namespace test_support {

// While it lives, every call through the loader's pointer at Pointer (for example &__glewBindBuffer) is
// counted and does its work; unless constructed with false it also leaves GL_INVALID_ENUM behind. One at a
// time for each pointer.
template <auto* Pointer>
class watched {
    using function = decltype(+*Pointer);

public:
    explicit watched(bool with_errors = true) {
        calls_ = 0;
        with_errors_ = with_errors;
        original_ = *Pointer;
        if (original_) *Pointer = replacement(original_);
    }
    ~watched() { *Pointer = original_; }
    watched(const watched&) = delete;
    watched& operator=(const watched&) = delete;

    int calls() const { return calls_; }

private:
    template <typename R, typename... A>
    static auto replacement(R(GLAPIENTRY*)(A...)) -> R(GLAPIENTRY*)(A...) {
        return [](A... arguments) -> R {
            ++calls_;
            struct afterwards {
                ~afterwards() {
                    if (with_errors_) glEnable(0xFFFF);
                }
            } leave_error;
            return original_(arguments...);
        };
    }

    static inline function original_ = nullptr;
    static inline int calls_ = 0;
    static inline bool with_errors_ = true;
};

} // namespace test_support
