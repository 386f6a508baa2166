#pragma once
// A typed, reference-counted array over the storage of an allocator.

#include "libutils/alloc_mmap_win.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace libutils {

// What all handles of one array share. The data pointer lives here, so every handle sees a resize.
template <class A>
struct shared_block {
    std::uint64_t references = 1;
    std::uint64_t bytes = 0; // as requested: a count times the size of an element
    A allocator;
    void* data = nullptr; // null only after a failed resize
};

// A handle on shared storage of T (plain data, no constructors run; new elements are zero), or on none.
// Copies and assignments share; the last handle frees the storage. Counters are plain: all handles belong to
// one thread. Element access is unchecked. A const handle gives const elements. Do not write to storage that
// is mapped read-only.
template <class T, class A = alloc_mmap_win>
class refvector2 {
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

public:
    using value_type = T;
    using size_type = std::uint64_t;
    using iterator = T*;
    using const_iterator = const T*;

    refvector2() = default;
    refvector2(const refvector2& other) noexcept : block_(other.block_) { retain(); }
    refvector2(refvector2&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    refvector2& operator=(const refvector2& other) noexcept {
        if (block_ != other.block_) {
            refvector2::release();
            block_ = other.block_;
            retain();
        }
        return *this;
    }
    refvector2& operator=(refvector2&& other) noexcept {
        if (this != &other) {
            refvector2::release();
            block_ = std::exchange(other.block_, nullptr);
        }
        return *this;
    }

    // The order of the virtual functions is part of the interface.
    virtual bool empty() const { return !block_ || block_->bytes == 0; }
    virtual size_type size() const { return block_ ? block_->bytes / sizeof(T) : 0; } // elements
    virtual T* data() { return storage(); }                                           // null without storage
    virtual T* end() { return storage_end(); } // data() + size(); null when data() is
    virtual const T* data() const { return storage(); }
    virtual const T* end() const { return storage_end(); }
    virtual T& operator[](size_type index) { return storage()[index]; }
    virtual const T& operator[](size_type index) const { return storage()[index]; }
    virtual T* begin() { return data(); }
    virtual const T* begin() const { return data(); }

    // Allocates new storage of `count` elements: zeros, or the file `name` from byte `offset` on (count 0:
    // the whole file). mode 0: read only, 1: read and write. Without `preserve`, the handle first releases
    // its old storage. With `preserve`, a failure changes nothing, and success copies the old leading
    // contents into new writable storage. False on failure; with alloc_mmap_win a file that cannot be opened
    // or mapped ends the process (see there, and try_allocate below).
    virtual bool allocate(size_type count, const char* name = nullptr, int mode = 1, size_type offset = 0,
                          bool preserve = false) {
        return replace(count, mode, preserve, [&](A& allocator, std::uint64_t& bytes) {
            return allocator.allocate(bytes, name, mode, offset);
        });
    }

    // Resizes the shared storage for all handles, or allocates zeros if there is none. Writable memory keeps
    // its leading contents. A file is mapped again from byte `offset`. After a failure (false) data() is null
    // and size() is the requested size; a smaller resize may still succeed.
    virtual bool resize(size_type count, size_type offset = 0) {
        if (!block_) return refvector2::allocate(count, nullptr, 1, 0, true);
        std::uint64_t bytes = 0;
        if (!bytes_of(count, bytes)) bytes = std::numeric_limits<std::uint64_t>::max();
        block_->bytes = bytes;
        block_->data = block_->allocator.reallocate(block_->data, bytes, offset);
        return block_->data != nullptr;
    }

    // Releases this handle's share.
    virtual void release() noexcept {
        if (block_ && --block_->references == 0) {
            block_->allocator.deallocate(block_->data);
            delete block_;
        }
        block_ = nullptr;
    }

    virtual ~refvector2() { refvector2::release(); }

    // allocate() for a file that may be missing, empty, locked, unreadable or too short: it reports nothing
    // and does not end the process; `why`, if given, receives the reason.
    bool try_allocate(size_type count, const char* name, int mode = 0, size_type offset = 0,
                      mapping_failure* why = nullptr) {
        mapping_failure unread;
        return replace(count, mode, false, [&](A& allocator, std::uint64_t& bytes) {
            return allocator.try_allocate(bytes, name, mode, offset, why ? *why : unread);
        });
    }

    size_type use_count() const { return block_ ? block_->references : 0; } // handles on the storage
    size_type byte_size() const { return block_ ? block_->bytes : 0; }      // of the storage
    bool in_file() const { return block_ && block_->allocator.is_file(); }  // it is a mapped file
    // False when not all of a mapped file could be read, see the allocator.
    bool is_whole() const { return !block_ || block_->allocator.is_whole(); }

protected:
    template <class, class>
    friend class refvector2;

    T* storage() const { return block_ ? static_cast<T*>(block_->data) : nullptr; }
    T* storage_end() const { return storage() ? storage() + refvector2::size() : nullptr; }

    // Shares another handle's storage, whatever its element type.
    template <class U>
    void share(const refvector2<U, A>& other) noexcept {
        if (block_ == other.block_) return;
        refvector2::release();
        block_ = other.block_;
        retain();
    }

private:
    void retain() noexcept {
        if (block_) ++block_->references;
    }

    static bool bytes_of(size_type count, std::uint64_t& bytes) {
        bytes = count * sizeof(T);
        return count <= std::numeric_limits<std::uint64_t>::max() / sizeof(T);
    }

    template <class Allocate>
    bool replace(size_type count, int mode, bool preserve, Allocate allocate_storage) {
        if (!preserve) release();
        std::uint64_t bytes = 0;
        if (!bytes_of(count, bytes)) return false;
        auto* made = new (std::nothrow) shared_block<A>;
        if (!made) return false;
        made->data = allocate_storage(made->allocator, bytes);
        made->bytes = bytes;
        if (!made->data) {
            delete made;
            return false;
        }
        if (block_ && block_->data && mode == 1)
            std::memcpy(made->data, block_->data, std::size_t(std::min(bytes, block_->bytes)));
        refvector2::release();
        block_ = made;
        return true;
    }

    shared_block<A>* block_ = nullptr;
};

} // namespace libutils
