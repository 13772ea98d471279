// SPDX-License-Identifier: Apache-2.0
// "tvurevctl report": one archive for a support case.
#ifndef TVUREV_CTL_REPORT_H_
#define TVUREV_CTL_REPORT_H_

#include <string>

#include "ctl/check.h"
#include "ctl/outcome.h"

struct ReportOptions {
  std::string output;  // a folder; empty for the current one
  bool show_communities = false;
  CheckOptions check;
};

// Writes tvurev-report-HOST-TIME.tgz, mode 0600: check and status as text and JSON,
// the settings with communities masked, the files of /opt/ortdv/tmp, versions, and the
// last log lines where they can be read.
Outcome run_report(const ReportOptions& options);

#endif  // TVUREV_CTL_REPORT_H_
