#pragma once
// A small reference-counted array in one heap block with its bookkeeping.

#include "libutils/alloc_new.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace libutils {

// A handle on a shared block of T (plain data; fresh elements are zero), or on none. Assignment shares; the
// last handle that goes frees.
//
// Mind the sizes: the block records its own size in bytes, bookkeeping included, and size() is that number;
// end() takes it as an element count and so lies beyond the storage. Whoever wants the elements uses
// elements().
template <class T, class A = alloc_new>
class refvector {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 16);

    struct header {
        std::uint64_t references;
        std::uint64_t recorded; // bytes of the whole block
        A allocator;
        std::uint64_t unused;
    };
    static_assert(sizeof(header) == 32, "the elements begin 32 bytes into the block");

public:
    using value_type = T;
    using size_type = std::uint64_t;

    refvector() = default;
    refvector(const refvector& other) noexcept : block_(other.block_) { retain(); }
    refvector(refvector&& other) noexcept : block_(std::exchange(other.block_, nullptr)) {}
    refvector& operator=(refvector&& other) noexcept {
        if (this != &other) {
            refvector::release();
            block_ = std::exchange(other.block_, nullptr);
        }
        return *this;
    }

    // The order of the virtual functions is part of the interface.
    virtual bool empty() const { return !block_ || block_->recorded == 0; }
    virtual size_type size() const { return block_ ? block_->recorded : 0; } // bytes of the block
    virtual T* data() { return payload(); }                                  // not for an absent block
    virtual T* end() { return beyond(); }
    virtual const T* data() const { return payload(); }
    virtual const T* end() const { return beyond(); }
    virtual T& operator[](size_type index) { return payload()[index]; }
    virtual const T& operator[](size_type index) const { return payload()[index]; }
    virtual T* begin() { return data(); }
    virtual const T* begin() const { return data(); }
    virtual refvector& operator=(const refvector& other) noexcept {
        if (block_ != other.block_) {
            refvector::release();
            block_ = other.block_;
            retain();
        }
        return *this;
    }

    // Takes a new block of `count` elements for this handle alone, with the leading contents of the old one;
    // 0 holds nothing. False, the old block kept, when there is no memory.
    virtual bool resize(size_type count) {
        if (count == 0) {
            release();
            return true;
        }
        if (count > (std::numeric_limits<std::uint64_t>::max() - sizeof(header)) / sizeof(T)) return false;
        A allocator;
        std::uint64_t total = count * sizeof(T) + sizeof(header);
        void* memory = allocator.allocate(total, nullptr, 1, 0);
        if (!memory) return false;
        header* made = new (memory) header{1, total, allocator, 0};
        // The old block's recorded size counts its header too, which is not part of what is copied.
        const std::span<T> old = elements();
        std::copy_n(old.data(), std::min<std::size_t>(count, old.size()), reinterpret_cast<T*>(made + 1));
        release();
        block_ = made;
        return true;
    }

    // Gives up this handle's share.
    virtual void release() noexcept {
        if (block_ && --block_->references == 0) {
            A allocator = block_->allocator;
            allocator.deallocate(block_);
        }
        block_ = nullptr;
    }

    virtual ~refvector() { refvector::release(); }

    // The elements that there are.
    std::span<T> elements() { return {block_ ? payload() : nullptr, count()}; }
    std::span<const T> elements() const { return {block_ ? payload() : nullptr, count()}; }

private:
    T* payload() const { return reinterpret_cast<T*>(block_ + 1); }
    T* beyond() const {
        return reinterpret_cast<T*>(reinterpret_cast<std::uintptr_t>(payload()) +
                                    refvector::size() * sizeof(T));
    }
    std::size_t count() const {
        return block_ ? std::size_t((block_->recorded - sizeof(header)) / sizeof(T)) : 0;
    }
    void retain() noexcept {
        if (block_) ++block_->references;
    }

    header* block_ = nullptr;
};

} // namespace libutils
