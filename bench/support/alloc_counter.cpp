#include "alloc_counter.h"

#include <atomic>
#include <cstdlib>
#include <new>

// Every form of global operator new counts, then defers to malloc; every form of delete
// frees. The counter shows whether the control path touches the heap at all.

namespace {

std::atomic<std::uint64_t> allocations{0};

void* allocate(std::size_t size) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size == 0 ? 1 : size);
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    const auto align = static_cast<std::size_t>(alignment);
    // aligned_alloc wants a size that is a multiple of the alignment.
    const std::size_t rounded = size == 0 ? align : (size + align - 1) / align * align;
    return std::aligned_alloc(align, rounded);
}

void* allocateOrThrow(std::size_t size) {
    if (void* p = allocate(size)) {
        return p;
    }
    throw std::bad_alloc();
}

void* allocateAlignedOrThrow(std::size_t size, std::align_val_t alignment) {
    if (void* p = allocateAligned(size, alignment)) {
        return p;
    }
    throw std::bad_alloc();
}

} // namespace

namespace halvoren::bench {

std::uint64_t allocationCount() {
    return allocations.load(std::memory_order_relaxed);
}

} // namespace halvoren::bench

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
    return allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateAlignedOrThrow(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateAlignedOrThrow(size, alignment);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*unused*/) noexcept {
    return allocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*unused*/) noexcept {
    return allocateAligned(size, alignment);
}

void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t& /*unused*/) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t& /*unused*/) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t /*size*/) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t /*size*/) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t /*alignment*/) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::align_val_t /*alignment*/) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(p);
}
void operator delete(void* p, std::align_val_t /*alignment*/, const std::nothrow_t& /*unused*/) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::align_val_t /*alignment*/, const std::nothrow_t& /*unused*/) noexcept {
    std::free(p);
}
