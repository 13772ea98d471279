// SPDX-License-Identifier: Apache-2.0
// ortinv on a made-up host, for the check of its documents: the first argument
// names the host, the rest is the command line.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "ortinv/command_line.h"
#include "tests/unit/ortinv/fake_host.h"

int main(int argc, char** argv) {
  const std::string host = argc > 1 ? argv[1] : "";
  g_host = host == "full" ? full_host() : (host == "odd" ? odd_host() : bare_host());
  const FakeCommands commands;
  std::string path = "/tmp/fake_ortinv_XXXXXX";
  const int fd = mkstemp(path.data());
  if (fd == -1) {
    perror("fake_ortinv");
    return EXIT_FAILURE;
  }
  close(fd);
  g_host.registration_file = path;
  std::ofstream(path) << "<TAddress>" << g_host.registration << "</TAddress>\n";
  const int status = run_ortinv(argc - 1, argv + 1);
  remove(path.c_str());
  return status;
}
