// Loaded into a program in front of its libraries: of the allocations that the program's own code makes in
// its main thread, the one with the number QUENVAREL_ALLOCATION_TO_FAIL fails, counted from 0. At the end of
// the program the file named by QUENVAREL_ALLOCATIONS, if there is one, gets the numbers of those that were
// the first of their place: the first with the same chain of callers.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <execinfo.h>
#include <iterator>
#include <new>
#include <set>
#include <sys/auxv.h>
#include <unistd.h>
#include <vector>

namespace {

std::size_t made = 0;
auto& firsts = *new std::vector<std::size_t>; // never destroyed: allocations go on to the very end

// The library or program whose code or data lies there.
const void* object_of(void* address) {
    dl_find_object about{};
    return _dl_find_object(address, &about) == 0 ? about.dlfo_map_start : nullptr;
}

// A library may call a function of the standard library that calls a template's code in the program: then the
// library allocates, not the program.
bool is_made_by_program(void* caller) {
    static const void* const program = object_of(reinterpret_cast<void*>(getauxval(AT_ENTRY)));
    static const void* const standard_library = object_of(reinterpret_cast<void*>(&std::get_new_handler));
    if (object_of(caller) != program) return false;
    void* callers[12];
    void** const end = callers + backtrace(callers, int(std::size(callers)));
    void** const found = std::find(callers, end, caller);
    void** user = found;
    while (user < end && (user == found || object_of(*user) == standard_library))
        ++user;
    return user == end || user == found + 1 || object_of(*user) == program;
}

bool is_new_place() {
    static auto& places = *new std::set<std::vector<void*>>;
    std::vector<void*> callers(10);
    callers.resize(std::size_t(backtrace(callers.data(), int(callers.size()))));
    return places.insert(callers).second;
}

bool fails(void* caller) {
    static const char* const wanted = std::getenv("QUENVAREL_ALLOCATION_TO_FAIL");
    static const std::size_t number = wanted ? std::strtoull(wanted, nullptr, 10) : std::size_t(-1);
    if (gettid() != getpid() || !is_made_by_program(caller)) return false;
    if (std::getenv("QUENVAREL_ALLOCATIONS") && is_new_place()) firsts.push_back(made);
    return made++ == number;
}

void* allocate(std::size_t size, bool failing) {
    for (;;) {
        if (void* memory = failing ? nullptr : std::malloc(size ? size : 1)) return memory;
        const std::new_handler handler = std::get_new_handler();
        if (!handler) throw std::bad_alloc();
        handler();
    }
}

struct at_end {
    ~at_end() {
        const char* const name = std::getenv("QUENVAREL_ALLOCATIONS");
        std::FILE* const file = name ? std::fopen(name, "w") : nullptr;
        if (!file) return;
        for (const std::size_t number : firsts)
            std::fprintf(file, "%zu\n", number);
        std::fclose(file);
    }
} write_number;

} // namespace

void* operator new(std::size_t size) {
    return allocate(size, fails(__builtin_return_address(0)));
}
void* operator new[](std::size_t size) {
    return allocate(size, fails(__builtin_return_address(0)));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return allocate(size, fails(__builtin_return_address(0)));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
