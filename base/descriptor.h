// SPDX-License-Identifier: Apache-2.0
// A descriptor that closes itself.
#ifndef TVUREV_BASE_DESCRIPTOR_H_
#define TVUREV_BASE_DESCRIPTOR_H_

#include <unistd.h>

#include <cerrno>
#include <utility>

// Owns a descriptor, or none (-1). Closing leaves errno as it was, so that a
// failure can still be told after its descriptor is gone.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    reset(other.release());
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { reset(); }

  int get() const { return fd_; }
  bool valid() const { return fd_ != -1; }

  // Gives the descriptor up; the caller closes it.
  int release() { return std::exchange(fd_, -1); }

  void reset(int fd = -1) {
    const int old = std::exchange(fd_, fd);
    if (old != -1) {
      const int error = errno;
      close(old);
      errno = error;
    }
  }

 private:
  int fd_ = -1;
};

#endif  // TVUREV_BASE_DESCRIPTOR_H_
