// SPDX-License-Identifier: Apache-2.0
// Asks the host's resolver for a name, and never waits long for it. The C
// library's look-up blocks for as long as the name servers are silent, which would
// hold up the relay of notifications, so a child process asks and is given one
// second. No thread, descriptor, child or memory is left behind.
#ifndef TVUREV_TRAP_NAME_LOOKUP_H_
#define TVUREV_TRAP_NAME_LOOKUP_H_

#include <netinet/in.h>

#include <array>

enum class LookupStatus {
  kFound,
  kUnknown,  // the resolver says that there is no such name, or no IPv4 address of it
  kFailed,   // nobody could say: no answer in time, or no means to ask
};

struct LookupResult {
  LookupStatus status = LookupStatus::kFailed;
  in_addr address = {};           // of kFound: the first that the resolver has
  std::array<char, 80> why = {};  // of the others, as text for the log
};

// Looks a terminated host name up. Blocks for one second at most, besides what
// fork takes. Logs nothing.
LookupResult look_up_name(const char* name);

#endif  // TVUREV_TRAP_NAME_LOOKUP_H_
