// SPDX-License-Identifier: Apache-2.0
#include "ortinv/output.h"

#include <cerrno>
#include <cstdio>

void Output::write() {
  if (error_ == 0 && fwrite(text_.data(), 1, text_.size(), stdout) != text_.size()) {
    error_ = errno;
  }
  text_.clear();
}

void Output::write_if_long() {
  constexpr size_t kLong = 32768;
  if (text_.size() >= kLong) {
    write();
  }
}

int Output::finish() {
  write();
  if (error_ == 0 && fflush(stdout) != 0) {
    error_ = errno;
  }
  return error_;
}
