#include "libutils/alloc_mmap_win.h"

#include "libutils/report.h"
#include "libutils/system_error.h"

namespace libutils {

namespace {

// The address of storage that holds nothing; aligned for any element.
void* nothing() {
    alignas(64) static unsigned char place[64];
    return place;
}

[[noreturn]] void end(const char* name, const char* message, int code) {
    report(name ? name : "", message);
    error_exit("alloc_mmap_win::allocate()", code);
}

} // namespace

std::string mapping_failure::text() const {
    if (at == step::none) return "";
    if (at == step::mode) return "unknown mode";
    if (code == 0) return "larger than the address space";
    std::string reason = system_error::text(code);
    while (!reason.empty() && (reason.back() == '\n' || reason.back() == '\r'))
        reason.pop_back();
    return reason;
}

void* alloc_mmap_win::allocate(std::uint64_t& size, const char* name, int mode, std::uint64_t offset) {
    mapping_failure why;
    void* view = try_allocate(size, name, mode, offset, why);
    if (why.at == mapping_failure::step::open) end(name, ": file open failed.", why.code);
    if (why.at == mapping_failure::step::create) end(name, ": create file mapping failed.", why.code);
    return view;
}

void* alloc_mmap_win::try_allocate(std::uint64_t& size, const char* name, int mode, std::uint64_t offset,
                                   mapping_failure& why) {
    using step = mapping_failure::step;
    const auto fail = [&](step at) -> void* {
        why = {at, system_error::last()};
        close();
        return nullptr;
    };
    why = {};
    if (mode != 0 && mode != 1) {
        why.at = step::mode;
        return nullptr;
    }
    protection_ = mode == 0 ? mapping::protection::read_only : mapping::protection::read_write;
    access_ = mode == 0 ? mapping::access::read : mapping::access::write;
    if (size > mapping::address_space || offset > mapping::address_space - size) {
        why.at = step::view;
        return nullptr;
    }
    if (!name && size == 0) return view_ = nothing();
    if (name) {
        file_ = mapping::open(name, protection_);
        if (is_memory()) return fail(step::open);
    }
    // A view that ends behind a file that is only read fails as a view; the mapping is there.
    std::uint64_t whole = name && size != 0 ? offset + size : size;
    if (mode == 0 && whole > file_.size && size <= file_.size) whole = file_.size;
    if (!mapping::create(file_, protection_, whole, object_)) return fail(step::create);
    if (size == 0) size = object_.size;
    return map_view(offset, size) ? view_ : fail(step::view);
}

void* alloc_mmap_win::reallocate(void*, std::uint64_t size, std::uint64_t offset) {
    if (size > mapping::address_space) {
        if (!is_memory() || access_ != mapping::access::write) unmap_view();
        return nullptr;
    }
    const bool mapped = view_ && size_ != 0;
    if (is_memory() && access_ == mapping::access::write && mapped && size != 0) {
        // A view of the whole memory can only begin at its start.
        void* moved = offset == 0 ? mapping::resize_memory(object_, view_, size) : nullptr;
        if (!moved) return nullptr;
        size_ = size;
        return view_ = moved;
    }
    unmap_view();
    if (size == 0) {
        if (is_memory()) mapping::destroy(object_);
        return view_ = nothing();
    }
    if (is_memory() && object_.size == 0 && !mapping::create(file_, protection_, size, object_))
        return nullptr;
    if (!map_view(offset, size) && is_memory() && access_ == mapping::access::write)
        mapping::destroy(object_); // made above for this size; the next one gets its own
    return view_;
}

void alloc_mmap_win::deallocate(void*) {
    close();
}

bool alloc_mmap_win::is_whole() const {
    return is_memory() || (!watched_.has_hole && mapping::size_now(file_) >= object_.size);
}

void* alloc_mmap_win::map_view(std::uint64_t offset, std::uint64_t size) {
    view_ = mapping::map(object_, file_, access_, offset, size);
    size_ = view_ ? size : 0;
    if (view_ && is_file()) mapping::watch(watched_, view_, size);
    return view_;
}

void alloc_mmap_win::unmap_view() {
    mapping::unwatch(watched_);
    if (view_ && size_ != 0) mapping::unmap(view_, size_);
    view_ = nullptr;
    size_ = 0;
}

void alloc_mmap_win::close() {
    unmap_view();
    watched_.has_hole = false;
    mapping::destroy(object_);
    if (!is_memory()) mapping::close(file_);
}

} // namespace libutils
