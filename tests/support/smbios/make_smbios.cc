// SPDX-License-Identifier: Apache-2.0
// Writes the SMBIOS table of the sample host to a file.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "tests/support/smbios/sample_host.h"

namespace {

int run(int argc, char** argv) {
  CLI::App app("Writes the SMBIOS table of the sample host to a file.");
  std::string output;
  bool dmidecode = false;
  app.add_option("output", output, "The file to write")->required();
  app.add_flag("--dmidecode", dmidecode,
               "Lay the file out for dmidecode --from-dump, not as the device returns it");
  CLI11_PARSE(app, argc, argv);
  const SmbiosTable table = sample_host_table();
  if (!write_file(output, dmidecode ? table.dmidecode_dump() : table.device_image())) {
    fprintf(stderr, "make-smbios: cannot write %s\n", output.c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    fprintf(stderr, "make-smbios: %s\n", error.what());
    return 1;
  }
}
