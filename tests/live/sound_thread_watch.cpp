#include "sound_thread_watch.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <dlfcn.h>
#include <fluidsynth.h>
#include <pthread.h>
#include <unistd.h>

namespace test_support {

namespace {
sound_thread_watch watch;
}
sound_thread_watch& sound_threads = watch;

} // namespace test_support

namespace {

using test_support::sound_threads;

thread_local bool renders = false; // this thread has, at least once
thread_local bool is_in_fluidsynth = false;

void note_allocation() {
    if (renders) ++(is_in_fluidsynth ? sound_threads.allocations_by_fluidsynth : sound_threads.allocations);
}

void note_release() {
    if (renders) ++(is_in_fluidsynth ? sound_threads.releases_by_fluidsynth : sound_threads.allocations);
}

// Locks by their addresses. Two that meet in one place count as one, which can only make a result worse.
struct lock_facts {
    std::atomic<bool> needed_for_sound{false};
    std::int64_t taken_at = 0; // by whoever has it, in its own processor time
    int depth = 0;
};
std::array<lock_facts, 1 << 16> all_locks;

lock_facts& facts_of(pthread_mutex_t* mutex) {
    return all_locks[(reinterpret_cast<std::uintptr_t>(mutex) >> 3) % all_locks.size()];
}

std::int64_t processor_time() {
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

void note_taken(pthread_mutex_t* mutex) {
    lock_facts& facts = facts_of(mutex);
    if (renders) {
        facts.needed_for_sound = true;
        ++sound_threads.locks;
    }
    if (facts.depth++ == 0) facts.taken_at = renders ? 0 : processor_time();
}

void note_released(pthread_mutex_t* mutex) {
    lock_facts& facts = facts_of(mutex);
    if (--facts.depth != 0 || renders || !facts.needed_for_sound) return;
    const std::int64_t held = processor_time() - facts.taken_at;
    for (auto longest = sound_threads.longest_held.load();
         held > longest && !sound_threads.longest_held.compare_exchange_weak(longest, held);) {
    }
}

// The system's function of that name.
template <class Function>
Function next(Function, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
#define NEXT(function)                                                                                       \
    [] {                                                                                                     \
        static const auto found = next(&function, #function);                                                \
        return found;                                                                                        \
    }()

} // namespace

extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t size) {
    note_allocation();
    return __libc_malloc(size);
}
void* calloc(std::size_t count, std::size_t size) {
    note_allocation();
    return __libc_calloc(count, size);
}
void* realloc(void* memory, std::size_t size) {
    note_allocation();
    return __libc_realloc(memory, size);
}
void* memalign(std::size_t alignment, std::size_t size) {
    note_allocation();
    return __libc_memalign(alignment, size);
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return memalign(alignment, size);
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    *memory = memalign(alignment, size);
    return *memory ? 0 : ENOMEM;
}
void free(void* memory) {
    if (memory) note_release();
    __libc_free(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    if (renders && NEXT(pthread_mutex_trylock)(mutex) != 0) {
        ++sound_threads.waits;
        NEXT(pthread_mutex_lock)(mutex);
    } else if (!renders) {
        if (const int error = NEXT(pthread_mutex_lock)(mutex)) return error;
    }
    note_taken(mutex);
    return 0;
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    const int error = NEXT(pthread_mutex_trylock)(mutex);
    if (error == 0) note_taken(mutex);
    return error;
}
int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    note_released(mutex);
    return NEXT(pthread_mutex_unlock)(mutex);
}

int fluid_synth_write_float(fluid_synth_t* synth, int frames, void* left, int left_offset, int left_step,
                            void* right, int right_offset, int right_step) {
    is_in_fluidsynth = true;
    const int result = NEXT(fluid_synth_write_float)(synth, frames, left, left_offset, left_step, right,
                                                     right_offset, right_step);
    is_in_fluidsynth = false;
    ++sound_threads.periods;
    renders = gettid() != getpid(); // the player's own thread may do so, too
    return result;
}
}
