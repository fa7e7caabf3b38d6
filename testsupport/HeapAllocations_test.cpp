#include "testsupport/HeapAllocations.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory_resource>
#include <new>
#include <ostream>
#include <thread>

namespace {

constexpr auto wide = static_cast<std::align_val_t>(256);

struct FormRow {
  const char* name;
  void* (*allocate)();
  void (*release)(void* memory);
  bool throws;
};

void PrintTo(const FormRow& row, std::ostream* out) {
  *out << row.name;
}

class EveryForm : public ::testing::TestWithParam<FormRow> {};

TEST_P(EveryForm, IsCountedOnce) {
  const long before = heapAllocations();
  void* memory = GetParam().allocate();
  const long after = heapAllocations();
  EXPECT_NE(memory, nullptr);
  GetParam().release(memory);
  EXPECT_EQ(after, before + 1);
}

TEST_P(EveryForm, FailsWhereMemoryIsExhausted) {
  bool threw = false;
  void* memory = nullptr;
  exhaustMemory(true);
  try {
    memory = GetParam().allocate();
  } catch (const std::bad_alloc&) {
    threw = true;
  }
  exhaustMemory(false);
  EXPECT_EQ(threw, GetParam().throws);
  EXPECT_EQ(memory, nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, EveryForm,
    ::testing::Values(FormRow{"Plain", [] { return ::operator new(8); },
                              [](void* m) { ::operator delete(m); }, true},
                      FormRow{"Array", [] { return ::operator new[](8); },
                              [](void* m) { ::operator delete[](m); }, true},
                      FormRow{"Aligned", [] { return ::operator new(8, wide); },
                              [](void* m) { ::operator delete(m, wide); }, true},
                      FormRow{"AlignedArray", [] { return ::operator new[](8, wide); },
                              [](void* m) { ::operator delete[](m, wide); }, true},
                      FormRow{"WithoutException", [] { return ::operator new(8, std::nothrow); },
                              [](void* m) { ::operator delete(m, std::nothrow); }, false},
                      FormRow{"ArrayWithoutException",
                              [] { return ::operator new[](8, std::nothrow); },
                              [](void* m) { ::operator delete[](m, std::nothrow); }, false},
                      FormRow{"AlignedWithoutException",
                              [] { return ::operator new(8, wide, std::nothrow); },
                              [](void* m) { ::operator delete(m, wide, std::nothrow); }, false},
                      FormRow{"AlignedArrayWithoutException",
                              [] { return ::operator new[](8, wide, std::nothrow); },
                              [](void* m) { ::operator delete[](m, wide, std::nothrow); }, false}),
    [](const ::testing::TestParamInfo<FormRow>& row) { return row.param.name; });

TEST(HeapAllocations, MemoryIsAlignedAsAsked) {
  void* memory = ::operator new(8, wide);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory) % static_cast<std::size_t>(wide), 0U);
  ::operator delete(memory, wide);
}

TEST(HeapAllocations, CountWhatAMemoryResourceTakes) {
  const long before = heapAllocations();
  void* memory = std::pmr::new_delete_resource()->allocate(8);
  EXPECT_EQ(heapAllocations(), before + 1);
  std::pmr::new_delete_resource()->deallocate(memory, 8);
}

TEST(HeapAllocations, EachThreadHasItsOwnCount) {
  long ofTheOther = -1;
  std::thread other([&] {
    void* memory = ::operator new(8);
    ofTheOther = heapAllocations();
    ::operator delete(memory);
  });
  const long before = heapAllocations();
  other.join();
  EXPECT_EQ(ofTheOther, 1);
  EXPECT_EQ(heapAllocations(), before);
}

}  // namespace
