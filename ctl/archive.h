// SPDX-License-Identifier: Apache-2.0
// A compressed archive (.tgz) of a few small texts, made in memory: nothing of it
// lies about elsewhere, and the host needs no command for it.
#ifndef TVUREV_CTL_ARCHIVE_H_
#define TVUREV_CTL_ARCHIVE_H_

#include <ctime>
#include <string>
#include <vector>

struct ArchivedFile {
  std::string name;  // FOLDER/FILE, at most 99 characters
  std::string text;
};

// The bytes: tar (ustar) in the gzip format, its blocks stored as they are.
std::string make_archive(const std::vector<ArchivedFile>& files, time_t time);

#endif  // TVUREV_CTL_ARCHIVE_H_
