// SPDX-License-Identifier: Apache-2.0
// An array that the library gave away, released when it goes out of scope.
#ifndef TVUREV_ORTINV_LIBRARY_ARRAY_H_
#define TVUREV_ORTINV_LIBRARY_ARRAY_H_

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>

struct Freer {
  void operator()(void* memory) const { free(memory); }
};

template <typename Row>
struct LibraryArray {
  std::unique_ptr<Row, Freer> first;
  uint32_t count = 0;

  std::span<const Row> rows() const { return {first.get(), count}; }
};

// Calls one of the library's functions that list something; empty when it fails.
template <typename Row>
LibraryArray<Row> list_of(int (*list)(Row**, uint32_t*)) {
  Row* rows = nullptr;
  uint32_t count = 0;
  list(&rows, &count);
  return {std::unique_ptr<Row, Freer>(rows), rows == nullptr ? 0 : count};
}

#endif  // TVUREV_ORTINV_LIBRARY_ARRAY_H_
