// SPDX-License-Identifier: Apache-2.0
// Values that lie in their object, values on the heap, and the way between.
#include <snmp_pp/short_vector.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <numeric>
#include <utility>
#include <vector>

#include "tests/support/heap_count.h"

namespace Snmp_pp {
namespace {

constexpr size_t kShort = 4;
using Numbers = ShortVector<int, kShort>;

// 1, 2 and so on.
Numbers counted(size_t size) {
  Numbers numbers;
  for (size_t number = 1; number <= size; ++number) {
    numbers.append(static_cast<int>(number));
  }
  return numbers;
}

void expect_counted(const Numbers& numbers, size_t size) {
  std::vector<int> expected(size);
  std::iota(expected.begin(), expected.end(), 1);
  EXPECT_EQ(std::vector<int>(numbers.begin(), numbers.end()), expected);
  EXPECT_EQ(numbers.size(), size);
  EXPECT_EQ(numbers.empty(), size == 0);
}

// Around the border between object and heap.
class EverySize : public testing::TestWithParam<size_t> {};

TEST_P(EverySize, HoldsWhatWasAppended) {
  expect_counted(counted(GetParam()), GetParam());
}

TEST_P(EverySize, IsCopied) {
  const Numbers original = counted(GetParam());
  const Numbers copy(original);
  expect_counted(copy, GetParam());
  expect_counted(original, GetParam());
  EXPECT_NE(copy.data(), original.data());
}

TEST_P(EverySize, IsMovedAndLeavesNothing) {
  Numbers original = counted(GetParam());
  Numbers moved(std::move(original));
  expect_counted(moved, GetParam());
  expect_counted(original, 0);  // NOLINT(bugprone-use-after-move): the subject
  original.append(1);
  expect_counted(original, 1);
  expect_counted(moved, GetParam());
}

TEST_P(EverySize, ReplacesEveryOtherSize) {
  for (const size_t size : {0U, 1U, 3U, 4U, 5U, 9U}) {
    const Numbers source = counted(GetParam());
    Numbers copied = counted(size);
    copied = source;
    expect_counted(copied, GetParam());
    Numbers moved = counted(size);
    moved = counted(GetParam());
    expect_counted(moved, GetParam());
  }
}

TEST_P(EverySize, CanBeAssignedToItself) {
  Numbers numbers = counted(GetParam());
  const Numbers& same = numbers;
  numbers = same;
  expect_counted(numbers, GetParam());
  Numbers& again = numbers;
  numbers = std::move(again);
  expect_counted(numbers, GetParam());
}

TEST_P(EverySize, CanBeAppendedToItself) {
  Numbers numbers = counted(GetParam());
  numbers.append(numbers);
  ASSERT_EQ(numbers.size(), 2 * GetParam());
  EXPECT_TRUE(std::equal(numbers.begin(), numbers.begin() + GetParam(),
                         numbers.begin() + GetParam(), numbers.end()));
}

TEST_P(EverySize, CanBeShortened) {
  Numbers numbers = counted(GetParam());
  numbers.shorten(GetParam() / 2);
  expect_counted(numbers, GetParam() / 2);
}

INSTANTIATE_TEST_SUITE_P(Sizes, EverySize, testing::Values(0, 1, 3, 4, 5, 7, 8, 9, 100));

TEST(ShortVector, NeedsNoHeapWhileItIsShort) {
  const size_t before = heap_allocations();
  Numbers numbers = counted(kShort);
  const Numbers copy(numbers);
  Numbers assigned;
  assigned = copy;
  Numbers moved(std::move(numbers));
  EXPECT_EQ(heap_allocations() - before, 0U);
  moved.append(5);
  EXPECT_EQ(heap_allocations() - before, 1U);
  const Numbers taken(std::move(moved));
  EXPECT_EQ(heap_allocations() - before, 1U);
  EXPECT_EQ(taken.size(), kShort + 1);
}

TEST(ShortVector, KeepsItsElementsWhenTheHeapIsEmpty) {
  if (!heap_can_run_out()) {
    GTEST_SKIP() << "a sanitizer has the heap";
  }
  Numbers numbers = counted(kShort);
  const Numbers longer = counted(kShort + 1);
  bool appended = true;
  bool assigned = true;
  try {
    const HeapLimit none(0);
    numbers.append(5);
  } catch (const std::bad_alloc&) {
    appended = false;
  }
  try {
    const HeapLimit none(0);
    numbers = longer;
  } catch (const std::bad_alloc&) {
    assigned = false;
  }
  EXPECT_FALSE(appended);
  EXPECT_FALSE(assigned);
  expect_counted(numbers, kShort);
}

}  // namespace
}  // namespace Snmp_pp
