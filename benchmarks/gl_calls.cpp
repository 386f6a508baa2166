#include "gl_calls.h"

#include <GL/glew.h>

#include <dlfcn.h>

#include <type_traits>

namespace {

std::uint64_t counted = 0;
bool counting = false;

// Replaces a pointer of the loader by a function that counts and passes the call on.
template <auto* Pointer>
struct through {
    using function = std::remove_reference_t<decltype(*Pointer)>;
    static inline function original = nullptr;

    template <typename R, typename... A>
    static auto counting_version(R(GLAPIENTRY*)(A...)) -> R(GLAPIENTRY*)(A...) {
        return [](A... arguments) -> R {
            ++counted;
            return original(arguments...);
        };
    }
    static void begin() {
        original = *Pointer;
        *Pointer = counting_version(original);
    }
    static void end() { *Pointer = original; }
};

template <auto*... Pointers>
struct pointers {
    static void begin() { (through<Pointers>::begin(), ...); }
    static void end() { (through<Pointers>::end(), ...); }
};

using drawing = pointers<&__glewUseProgram, &__glewUniformMatrix4fv, &__glewUniform1f, &__glewUniform1i,
                         &__glewUniform2fv, &__glewUniform3fv, &__glewActiveTexture, &__glewBindVertexArray,
                         &__glewBindBuffer, &__glewBufferData, &__glewBufferSubData,
                         &__glewPrimitiveRestartIndex, &__glewGetUniformLocation>;

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

GLenum GLAPIENTRY glGetError() {
    static const auto original = next<decltype(&glGetError)>("glGetError");
    counted += counting;
    return original();
}
void GLAPIENTRY glEnable(GLenum what) {
    static const auto original = next<decltype(&glEnable)>("glEnable");
    counted += counting;
    original(what);
}
void GLAPIENTRY glDisable(GLenum what) {
    static const auto original = next<decltype(&glDisable)>("glDisable");
    counted += counting;
    original(what);
}
void GLAPIENTRY glBindTexture(GLenum target, GLuint texture) {
    static const auto original = next<decltype(&glBindTexture)>("glBindTexture");
    counted += counting;
    original(target, texture);
}
void GLAPIENTRY glBlendFunc(GLenum source, GLenum destination) {
    static const auto original = next<decltype(&glBlendFunc)>("glBlendFunc");
    counted += counting;
    original(source, destination);
}
void GLAPIENTRY glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices) {
    static const auto original = next<decltype(&glDrawElements)>("glDrawElements");
    counted += counting;
    original(mode, count, type, indices);
}

} // extern "C"

namespace benchmarks {

gl_call_count::gl_call_count() {
    counted = 0;
    counting = true;
    drawing::begin();
}

gl_call_count::~gl_call_count() {
    drawing::end();
    counting = false;
}

std::uint64_t gl_call_count::calls() {
    return counted;
}

} // namespace benchmarks
