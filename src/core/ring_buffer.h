#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace halvoren {

// The last `capacity` values appended, oldest first. Once full, a new value overwrites the
// oldest in place, so an append costs the same whatever the capacity. `totalAppended` never
// falls: a scrolling graph reads its growth to see a new value even when the length no longer
// changes. A capacity of 0 keeps nothing but still counts.
template <class T>
class BasicRingBuffer {
public:
    explicit BasicRingBuffer(std::size_t capacity)
        : capacity_(capacity) {
        storage_.reserve(capacity);
    }

    void append(const T& value) {
        ++totalAppended_;
        if (capacity_ == 0) {
            return;
        }
        if (storage_.size() < capacity_) {
            storage_.push_back(value);
            return;
        }
        storage_[head_] = value;
        head_ = (head_ + 1) % capacity_;
    }

    // The values, oldest first.
    std::vector<T> samples() const {
        std::vector<T> ordered;
        ordered.reserve(storage_.size());
        for (std::size_t i = 0; i < storage_.size(); ++i) {
            ordered.push_back((*this)[i]);
        }
        return ordered;
    }

    // The i-th value counted from the oldest; `i` must be below `size()`.
    const T& operator[](std::size_t i) const { return storage_[(head_ + i) % storage_.size()]; }

    std::size_t size() const { return storage_.size(); }
    std::size_t capacity() const { return capacity_; }
    std::int64_t totalAppended() const { return totalAppended_; }

private:
    std::size_t capacity_;
    std::vector<T> storage_; // in slot order; the oldest is at head_ once full
    std::size_t head_ = 0;
    std::int64_t totalAppended_ = 0;
};

using RingBuffer = BasicRingBuffer<double>;

} // namespace halvoren
