// See failing_new.h.
#include "failing_new.h"

#include <cstdlib>
#include <new>

#include "support/alloc_faults.h"

namespace {

thread_local bool t_new_fails = false;

void* allocate(std::size_t size) noexcept {
    const std::size_t at_least_one = size != 0 ? size : 1;
    return t_new_fails ? std::malloc(at_least_one) : malloc_without_fault(at_least_one);
}

void* allocate_or_throw(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

}  // namespace

FailingNew::FailingNew() noexcept {
    t_new_fails = true;
}

FailingNew::~FailingNew() {
    t_new_fails = false;
}

void* operator new(std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new[](std::size_t size) {
    return allocate_or_throw(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    std::free(block);
}
