// SPDX-License-Identifier: Apache-2.0
// Asks a source that may never answer: a host's command, the BMC. The query runs
// in a child process that leads a process group of its own, and the group is
// killed when the time is over, with whatever command it waits for.
#ifndef TVUREV_ORTINV_BOUNDED_QUERY_H_
#define TVUREV_ORTINV_BOUNDED_QUERY_H_

#include <functional>
#include <string>

#include "ortinv/report.h"

// Runs query on an empty report in a child and adds what it found to this one:
// objects key by key, lists at their end. Adds a problem of the source when it
// takes longer than report.timeout seconds, when the child ends otherwise than
// by itself, and without a process for it. Without a timeout the query runs in
// this process. Blocks until the child has ended. While it does, SIGINT, SIGTERM
// and SIGHUP end its group before they end this process.
// Returns false when the query was not answered.
bool ask_in_time(const std::string& source, Report& report,
                 const std::function<void(Report&)>& query);

#endif  // TVUREV_ORTINV_BOUNDED_QUERY_H_
