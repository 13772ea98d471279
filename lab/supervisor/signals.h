// SPDX-License-Identifier: Apache-2.0
// SIGINT, SIGTERM and SIGHUP as a descriptor, so that they are noticed between
// two events and never in the middle of one.
#ifndef TVUREV_LAB_SUPERVISOR_SIGNALS_H_
#define TVUREV_LAB_SUPERVISOR_SIGNALS_H_

#include <signal.h>
#include <sys/signalfd.h>

#include "base/descriptor.h"

inline Descriptor hold_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&signals, number);
  }
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

#endif  // TVUREV_LAB_SUPERVISOR_SIGNALS_H_
