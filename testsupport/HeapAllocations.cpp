#include "testsupport/HeapAllocations.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local long allocations = 0;
thread_local bool memoryIsExhausted = false;

constexpr auto usual = static_cast<std::align_val_t>(alignof(std::max_align_t));

/// Exactly as large as asked where it can be, so that a sanitizer sees a read behind the end.
void* allocated(std::size_t size, std::align_val_t wanted) noexcept {
  if (memoryIsExhausted) {
    return nullptr;
  }
  ++allocations;
  if (wanted <= usual) {
    return std::malloc(std::max(size, std::size_t{1}));
  }
  const auto alignment = static_cast<std::size_t>(wanted);
  return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocatedOrThrow(std::size_t size, std::align_val_t wanted) {
  void* memory = allocated(size, wanted);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

long heapAllocations() {
  return allocations;
}

void exhaustMemory(bool exhausted) {
  memoryIsExhausted = exhausted;
}

// Every form stands here: the library's own would call the plain one, but a sanitizer's would not.

void* operator new(std::size_t size) {
  return allocatedOrThrow(size, usual);
}

void* operator new[](std::size_t size) {
  return allocatedOrThrow(size, usual);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocatedOrThrow(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocatedOrThrow(size, alignment);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocated(size, usual);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocated(size, usual);
}

void* operator new(std::size_t size, std::align_val_t alignment,
                   const std::nothrow_t& /*tag*/) noexcept {
  return allocated(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*tag*/) noexcept {
  return allocated(size, alignment);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete[](void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/,
                       std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/,
                     const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/,
                       const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
