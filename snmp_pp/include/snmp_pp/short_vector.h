// SPDX-License-Identifier: Apache-2.0
// A vector that needs no heap while it is short. Not part of SNMP++.
#ifndef SNMP_PP_SHORT_VECTOR_H_
#define SNMP_PP_SHORT_VECTOR_H_

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

namespace Snmp_pp {

// Elements that can be copied as memory; kShort of them lie in the object
// itself. Copies are deep, moving takes over a heap block and leaves nothing
// behind. Whatever makes it longer may throw std::bad_alloc and then changes
// nothing.
template <typename Element, size_t kShort>
class ShortVector {
  static_assert(std::is_trivially_copyable_v<Element>);

 public:
  ShortVector() noexcept {}  // NOLINT(modernize-use-equals-default,*-member-init): see inside_
  ShortVector(const ShortVector& other) : ShortVector() { assign(other); }
  ShortVector(ShortVector&& other) noexcept : ShortVector() { take(other); }
  ~ShortVector() = default;

  ShortVector& operator=(const ShortVector& other) {
    assign(other);
    return *this;
  }
  ShortVector& operator=(ShortVector&& other) noexcept {
    if (this != &other) {
      take(other);
    }
    return *this;
  }

  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  const Element* data() const { return heap_ ? heap_.get() : inside_.data(); }
  const Element* begin() const { return data(); }
  const Element* end() const { return data() + size_; }

  // Drops what is behind the first size elements. There must be as many.
  void shorten(size_t size) { size_ = size; }

  // The elements may be some of this vector's own.
  void append(std::span<const Element> elements) { append_low_bits(elements); }
  void append(Element element) { append(std::span<const Element>(&element, 1)); }

  // Appends numbers that may be wider: what an element holds of them.
  template <typename Number>
  void append_low_bits(std::span<const Number> numbers) {
    if (numbers.size() > kLongest - size_) {
      throw std::bad_array_new_length();
    }
    const size_t size = size_ + numbers.size();
    if (size > capacity_) {
      // Filled before the old block, in which the numbers may lie, is freed.
      const size_t capacity = std::max(size, 2 * capacity_);
      auto block = std::make_unique_for_overwrite<Element[]>(capacity);
      std::copy_n(data(), size_, block.get());
      copy_low_bits(numbers, block.get() + size_);
      heap_ = std::move(block);
      capacity_ = capacity;
    } else {
      copy_low_bits(numbers, place() + size_);
    }
    size_ = size;
  }

 private:
  // What no memory has room for is refused before lengths could wrap around.
  static constexpr size_t kLongest = PTRDIFF_MAX / sizeof(Element);

  template <typename Number>
  static void copy_low_bits(std::span<const Number> numbers, Element* to) {
    if constexpr (std::is_same_v<Number, Element>) {
      std::copy_n(numbers.data(), numbers.size(), to);
    } else {
      std::transform(numbers.begin(), numbers.end(), to,
                     [](Number number) { return static_cast<Element>(number); });
    }
  }

  Element* place() { return heap_ ? heap_.get() : inside_.data(); }

  void assign(const ShortVector& other) {
    if (other.size_ > capacity_) {
      heap_ = std::make_unique_for_overwrite<Element[]>(other.size_);
      capacity_ = other.size_;
    }
    std::copy(other.begin(), other.end(), place());
    size_ = other.size_;
  }

  void take(ShortVector& other) noexcept {
    if (other.heap_) {
      heap_ = std::move(other.heap_);
      capacity_ = std::exchange(other.capacity_, kShort);
    } else {
      std::copy(other.begin(), other.end(), place());
    }
    size_ = std::exchange(other.size_, 0);
  }

  size_t size_ = 0;
  size_t capacity_ = kShort;
  std::unique_ptr<Element[]> heap_;  // all elements, when there is a block
  // Left as it is: no element is read before it is written.
  std::array<Element, kShort> inside_;
};

}  // namespace Snmp_pp

#endif  // SNMP_PP_SHORT_VECTOR_H_
