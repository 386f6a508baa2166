#pragma once
// A typed view into an array's storage.

#include "libutils/refvector2.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace libutils {

// Views part of shared storage: from a byte offset on, up to a limit of elements. Several views with
// different element types can share one mapped file. The offset need not be aligned for T; use a packed
// element type for file records.
template <class T, class A = alloc_mmap_win>
class ofsvector final : public refvector2<T, A> {
    using base = refvector2<T, A>;

public:
    using size_type = typename base::size_type;
    static constexpr size_type unlimited = std::numeric_limits<size_type>::max();

    ofsvector() = default;
    ofsvector(const ofsvector&) noexcept = default;
    ofsvector(ofsvector&& other) noexcept
        : base(std::move(other)),
          offset_(std::exchange(other.offset_, 0)),
          limit_(std::exchange(other.limit_, unlimited)) {}
    ofsvector& operator=(const ofsvector&) noexcept = default;
    ofsvector& operator=(ofsvector&& other) noexcept {
        base::operator=(std::move(other));
        offset_ = std::exchange(other.offset_, 0);
        limit_ = std::exchange(other.limit_, unlimited);
        return *this;
    }
    ~ofsvector() override = default;

    // Shares the whole storage of an array: no offset, no limit.
    template <class U>
    ofsvector& operator=(const refvector2<U, A>& other) noexcept {
        this->share(other);
        set_view(0);
        return *this;
    }

    // Shares the storage of an array and views it from a byte offset on. False, with an empty view, when the
    // offset lies beyond the storage. A limit beyond the storage is cut.
    template <class U>
    bool view(const refvector2<U, A>& other, size_type offset, size_type limit = unlimited) noexcept {
        if (offset > other.byte_size() / sizeof(T) * sizeof(T)) {
            release();
            return false;
        }
        this->share(other);
        set_view(offset, limit);
        return true;
    }

    // Moves the view within its storage, unchecked: with an offset beyond the storage, size() wraps to a huge
    // number.
    void set_view(size_type offset, size_type limit = unlimited) noexcept {
        offset_ = offset;
        limit_ = limit;
    }
    size_type offset() const { return offset_; }     // bytes
    size_type count_limit() const { return limit_; } // elements

    bool empty() const override { return base::empty() || limit_ == 0; }
    size_type size() const override {
        const size_type available = (this->byte_size() / sizeof(T) * sizeof(T) - offset_) / sizeof(T);
        return std::min(limit_, available);
    }
    T* data() override { return first(); }
    T* end() override { return last(); }
    const T* data() const override { return first(); }
    const T* end() const override { return last(); }
    T& operator[](size_type index) override { return first()[index]; }
    const T& operator[](size_type index) const override { return first()[index]; }

    // As for refvector2; then the view covers all of the new storage.
    bool allocate(size_type count, const char* name = nullptr, int mode = 1, size_type offset = 0,
                  bool preserve = false) override {
        if (!base::allocate(count, name, mode, offset, preserve)) return false;
        set_view(0);
        return true;
    }
    // Resizes the storage, not the view: removes the limit and keeps the offset.
    bool resize(size_type count, size_type offset = 0) override {
        limit_ = unlimited;
        return base::resize(count, offset);
    }
    void release() noexcept override {
        base::release();
        set_view(0);
    }

private:
    T* first() const {
        auto* bytes = reinterpret_cast<unsigned char*>(this->storage());
        return bytes ? reinterpret_cast<T*>(bytes + offset_) : nullptr;
    }
    T* last() const { return first() ? first() + ofsvector::size() : nullptr; }

    size_type offset_ = 0;
    size_type limit_ = unlimited;
};

} // namespace libutils
