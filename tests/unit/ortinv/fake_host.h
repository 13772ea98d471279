// SPDX-License-Identifier: Apache-2.0
// A made-up host: what the inventory library would answer on it. Linking
// fake_host.cc replaces the library's functions in the command line's tests.
#ifndef TVUREV_TESTS_UNIT_ORTINV_FAKE_HOST_H_
#define TVUREV_TESTS_UNIT_ORTINV_FAKE_HOST_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ortinv/host_identity.h"
#include "ortinv/memory_info.h"
#include "ortinv/software_table.h"
#include "tests/support/smbios/table_builder.h"

// One PCI device that the SMBIOS table knows; an empty text is absent.
struct FakePciDevice {
  std::string location;
  std::string name;
  std::string part_number;
  std::string linked_text;
  uint8_t nic_port = 0;
};

struct FakeDrive {
  std::string serial;  // trimmed
  std::string location;
  std::string text;
};

struct FakeHost {
  bool has_smbios = true;
  SmbiosTable table;  // what SmBiosInit reads; the queries have answers of their own
  // By the text of the address.
  std::map<std::string, FakePciDevice> pci;
  std::vector<FakeDrive> drives;

  std::vector<std::string> commands = {"uname", "localcli", "vsish"};
  std::vector<std::string> plain_files;  // named like commands, not executable
  bool has_path = true;
  std::string vsish;         // what it prints
  bool vsish_hangs = false;  // instead
  HostIdentity identity = {};
  char major_version = '8';
  HostMemInfo memory = {65536, 32768, 2048, 1024};

  bool has_image_database = true;
  std::vector<SwInstalledRec> components;
  std::vector<SwInstalledRec> bulletins;

  bool has_bmc_driver = true;
  bool has_channel = true;
  bool answers = true;
  bool bmc_hangs = false;
  bool takes_values = true;
  uint8_t variable_status = 0;
  std::string ipv4 = "192.0.2.10";
  std::string ipv6 = "fe80::1122";
  bool answers_ipv6 = true;
  // The BMC's variables by name; absent: not found.
  std::map<std::string, uint32_t> variables = {{"KXHVM6", 1}, {"KXHVM8", 60}, {"KXHVMA", 0}};

  std::string registration;  // what the file holds
  std::string registration_file = "/etc/config/ent_mib/ort.xml";
  bool can_register = true;
  bool stops_answering = false;  // when the file is to be written
};

extern FakeHost g_host;

// What was written to the BMC's variables, also by a child process.
struct FakeWrites {
  int count;
  char name[16];  // of the last one
  uint32_t value;
};
FakeWrites& fake_writes();

// The host's commands as files in a folder, and that folder as PATH.
class FakeCommands {
 public:
  FakeCommands();
  ~FakeCommands();
  FakeCommands(const FakeCommands&) = delete;
  FakeCommands& operator=(const FakeCommands&) = delete;

 private:
  std::string folder_;
};

// A host on which everything is there.
FakeHost full_host();

// A host on which nothing is there.
FakeHost bare_host();

// A host whose texts are as odd as they can be.
FakeHost odd_host();

#endif  // TVUREV_TESTS_UNIT_ORTINV_FAKE_HOST_H_
