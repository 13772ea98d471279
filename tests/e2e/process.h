// SPDX-License-Identifier: Apache-2.0
// What /proc tells about any process.
#ifndef TVUREV_TESTS_E2E_PROCESS_H_
#define TVUREV_TESTS_E2E_PROCESS_H_

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

// The children of a process, zombies too.
std::vector<pid_t> children_of(pid_t pid);

// "R", "S", "Z" and so on as in proc(5); '\0' when there is no such process.
char state_of(pid_t pid);
bool is_alive(pid_t pid);

// What its descriptors are: "/dev/null", "socket:[4711]".
std::map<int, std::string> descriptors_of(pid_t pid);

// The memory that a process has written itself; what it maps of files grows with what
// it happens to look at. 0 when there is no such process.
long written_kib(pid_t pid);

#endif  // TVUREV_TESTS_E2E_PROCESS_H_
