// SPDX-License-Identifier: Apache-2.0
// ortinv: the inventory of a host, for people and scripts.
#include "ortinv/command_line.h"

int main(int argc, char** argv) {
  return run_ortinv(argc, argv);
}
