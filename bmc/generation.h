// SPDX-License-Identifier: Apache-2.0
// The two places that tell the BMC's generation: the status file that an earlier
// start left, and the BMC itself. Reads only; what the answer means for the daemon,
// and the writing of the file, is SystemSupported()'s (ortinv/support_check.h).
#ifndef TVUREV_BMC_GENERATION_H_
#define TVUREV_BMC_GENERATION_H_

#include <array>
#include <cstdint>

#include "wire/chif.h"

enum class StatusFileKind {
  kDoesNotCount,  // none there, or not root's
  kUnreadable,
  kEmpty,  // no first line
  kRead,
};

struct StatusFile {
  StatusFileKind kind;
  int generation;  // of kRead: 0 where the line does not say "Mox" and a number
};

// Reads "/opt/ortdv/tmp/moxstatus". Messages go through DebugLog.
StatusFile read_status_file();

// The response to the status query, as far as it is read.
using MoxStatus = std::array<uint8_t, chif::mox_status::kSize>;

enum class GenerationQuery {
  kNoChannel,
  kFailed,
  kAnswered,  // by a silent BMC too, whose answer is empty
};

struct BmcGeneration {
  GenerationQuery result;
  int length;      // of the answer; 0 when the BMC kept silent
  int generation;  // 0 when it kept silent
  MoxStatus status;
};

// Asks the BMC once (docs/oddities.md: one-failed-query-ends-it), on a channel of
// its own. Failures are logged.
BmcGeneration query_generation();

#endif  // TVUREV_BMC_GENERATION_H_
