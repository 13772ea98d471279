// SPDX-License-Identifier: Apache-2.0
#include "ctl/command_line.h"

int main(int argc, char** argv) {
  return run_tvurevctl(argc, argv);
}
