// SPDX-License-Identifier: Apache-2.0
// Runs command lines on the made-up host.
#ifndef TVUREV_TESTS_UNIT_ORTINV_COMMAND_LINE_FIXTURE_H_
#define TVUREV_TESTS_UNIT_ORTINV_COMMAND_LINE_FIXTURE_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "ortinv/command_line.h"
#include "ortinv/smbios_table.h"
#include "tests/support/call_script.h"
#include "tests/unit/ortinv/fake_host.h"

struct Result {
  int status;
  std::string out;
  std::string error;

  nlohmann::json document() const { return nlohmann::json::parse(out); }
};

class CommandLineTest : public testing::Test {
 protected:
  CommandLineTest() {
    g_host = full_host();
    fake_writes() = {};
    path_ = testing::TempDir() + "registration_XXXXXX";
    const int fd = mkstemp(path_.data());
    close(fd);
    std::ofstream(path_) << "<logical>\n<TAddress>198.51.100.1</TAddress>\n";
    g_host.registration_file = path_;
  }
  ~CommandLineTest() override { remove(path_.c_str()); }

  static Result run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "ortinv");
    const FakeCommands commands;
    const OutputCapture out(1);
    const OutputCapture error(2);
    const int status = run_ortinv(static_cast<int>(arguments.size()), arguments.data());
    SmBiosTerm();  // each run is one of a program
    return {status, out.text(), error.text()};
  }

  std::string path_;
};

#endif  // TVUREV_TESTS_UNIT_ORTINV_COMMAND_LINE_FIXTURE_H_
