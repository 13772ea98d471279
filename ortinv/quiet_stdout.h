// Keeps standard output clean while it lives.
#ifndef TVUREV_ORTINV_QUIET_STDOUT_H_
#define TVUREV_ORTINV_QUIET_STDOUT_H_

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

// The calls for the interval variables print some failures on standard output,
// where they would get between the lines of a document. What they mean is
// reported by other means: this sends what is printed meanwhile to /dev/null.
class QuietStdout {
 public:
  QuietStdout() {
    fflush(stdout);
    saved_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null != -1) {
      dup2(null, STDOUT_FILENO);
      close(null);
    }
  }
  ~QuietStdout() {
    fflush(stdout);
    if (saved_ != -1) {
      dup2(saved_, STDOUT_FILENO);
      close(saved_);
    }
  }
  QuietStdout(const QuietStdout&) = delete;
  QuietStdout& operator=(const QuietStdout&) = delete;

 private:
  int saved_ = -1;
};

#endif  // TVUREV_ORTINV_QUIET_STDOUT_H_
