// SPDX-License-Identifier: Apache-2.0
// Standard output, written in pieces. The largest tables give megabytes, and
// memory that is touched for the first time costs more than what is put there.
#ifndef TVUREV_ORTINV_OUTPUT_H_
#define TVUREV_ORTINV_OUTPUT_H_

#include <string>

class Output {
 public:
  // What is to be written: to append to.
  std::string& text() { return text_; }

  // Writes it if it is long; to be called between parts of a long output.
  void write_if_long();

  // Writes what is left. Returns 0, or the errno of what standard output did not
  // take: nothing was written behind that.
  int finish();

 private:
  void write();

  std::string text_;
  int error_ = 0;
};

#endif  // TVUREV_ORTINV_OUTPUT_H_
