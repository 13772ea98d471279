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
  std::vector<uint32_t> record_types = {0, 1, 9, 195, 204, 222};
  // By the text of the address.
  std::map<std::string, FakePciDevice> pci;
  std::vector<FakeDrive> drives;

  std::vector<std::string> commands = {"uname", "localcli", "vsish"};
  std::vector<std::string> plain_files;  // named like commands, not executable
  HostIdentity identity = {};
  char major_version = '8';
  HostMemInfo memory = {65536, 32768, 2048, 1024};

  bool has_image_database = true;
  std::vector<SwInstalledRec> components;
  std::vector<SwInstalledRec> bulletins;

  bool has_bmc_driver = true;
  bool has_channel = true;
  bool answers = true;
  bool takes_values = true;
  uint8_t variable_status = 0;
  std::string ipv4 = "192.0.2.10";
  std::string ipv6 = "fe80::1122";
  bool answers_ipv6 = true;
  // The BMC's variables by name; absent: not found.
  std::map<std::string, uint32_t> variables = {{"KXHVM6", 1}, {"KXHVM8", 60}, {"KXHVMA", 0}};
  int writes = 0;  // of variables

  std::string registration;  // what the file holds
  std::string registration_file = "/etc/config/ent_mib/ort.xml";
  bool can_register = true;
};

extern FakeHost g_host;

// A host on which everything is there.
FakeHost full_host();

// A host on which nothing is there.
FakeHost bare_host();

// A host whose texts are as odd as they can be.
FakeHost odd_host();

#endif  // TVUREV_TESTS_UNIT_ORTINV_FAKE_HOST_H_
