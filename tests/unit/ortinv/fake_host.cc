// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/ortinv/fake_host.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "ortinv/entity_mib.h"
#include "ortinv/interval.h"
#include "ortinv/library.h"
#include "ortinv/network_address.h"
#include "ortinv/oem_queries.h"
#include "ortinv/rev_mode.h"
#include "ortinv/smbios_records.h"
#include "ortinv/smbios_table.h"
#include "ortinv/variables.h"

FakeHost g_host;

namespace {

template <size_t size>
void set_text(char (&field)[size], const std::string& text) {
  snprintf(field, size, "%s", text.c_str());
}

SwInstalledRec package(const std::string& name, const std::string& version) {
  SwInstalledRec record = {};
  set_text(record.name, name);
  set_text(record.version, version);
  set_text(record.vendor, "Example");
  set_text(record.summary, "Summary of " + name);
  set_text(record.releaseDate, "2023-03-27");
  return record;
}

const FakePciDevice* find_device(uint32_t segment, uint32_t bus, uint32_t device,
                                 uint32_t function) {
  std::array<char, 32> address = {};
  snprintf(address.data(), address.size(), "%04x:%02x:%02x.%x", segment & 0xFFFF, bus & 0xFF,
           device & 0x1F, function & 7);
  const auto found = g_host.pci.find(address.data());
  return g_host.has_smbios && found != g_host.pci.end() ? &found->second : nullptr;
}

const char* text_of(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

const FakeDrive* find_drive(const std::string& serial) {
  for (const FakeDrive& drive : g_host.drives) {
    if (drive.serial.find(serial) != std::string::npos) {
      return &drive;
    }
  }
  return nullptr;
}

template <typename Record>
void* one_record(uint8_t type, void (*fill)(Record&)) {
  auto* record = static_cast<Record*>(calloc(1, sizeof(Record)));
  record->header = {type, 4, 0x1234};
  fill(*record);
  return record;
}

void* make_record(uint32_t type) {
  switch (type) {
    case 0:
      return one_record<SmbBiosInfoRec>(0, [](SmbBiosInfoRec& record) {
        set_text(record.vendor, "Example BIOS");
        record.romSize = 8192;
      });
    case 1:
      return one_record<SmbSystemInfoRec>(1, [](SmbSystemInfoRec& record) {
        set_text(record.productName, "Example Server");
        set_text(record.serialNumber, "SN1");
      });
    case 9:
      return one_record<SmbSlotRec>(9, [](SmbSlotRec& record) {
        set_text(record.designation, "PCI-E Slot 1");
        record.busNum = 3;
      });
    case 195:
      return one_record<SmbServerIdRec>(
          195, [](SmbServerIdRec& record) { set_text(record.serverSystemIdStr, "ID1"); });
    case 204:
      return one_record<SmbEnclosureRec>(
          204, [](SmbEnclosureRec& record) { set_text(record.rackName, "Rack 1"); });
    default:
      return one_record<SmbGbxTableRec>(222, [](SmbGbxTableRec& record) {
        record.entryCount = 1;
        record.GbxConnectorEntry[0].portMap[0] = {0x11, 0x80};
      });
  }
}

FILE* g_print_stream = stdout;

int write_variable(const std::string& name, uint32_t value) {
  if (!g_host.takes_values) {
    return 1;
  }
  ++g_host.writes;
  g_host.variables[name] = value;
  return 0;
}

int address_result() {
  return !g_host.has_channel ? 1 : (g_host.answers ? 0 : -1);
}

}  // namespace

FakeHost full_host() {
  FakeHost host;
  host.pci["0000:03:00.0"] = {"PCI-E Slot 1", "Network adapter", "P12345-001", "Linked", 2};
  host.pci["0000:5e:1f.7"] = {"Embedded", "", "", "", 0};
  host.drives = {{"ABC123", "Port=1I:Box=1:Bay=1", "SAS"}, {"XYZ", "Port=1I:Box=1:Bay=2", ""}};
  set_text(host.identity.product, "VMware ESXi");
  set_text(host.identity.version, "VMware ESXi 8.0.2 Build-1234 Update 2");
  set_text(host.identity.full_version, "VMware ESXi 8.0.2 Build-1234 Update 2");
  set_text(host.identity.short_version, "8.0.2 Build-1234 Update 2");
  set_text(host.identity.system_type, "Server");
  set_text(host.identity.system_subtype, "Server_3");
  set_text(host.identity.sysDescr, "VMkernel esx1 8.0.2");
  host.identity.build = 1234;
  host.components = {package("Example-driver", "4.1.9"), package("", "")};
  host.bulletins = {package("", ""), package("tools", "1.0")};
  set_text(host.bulletins[1].kind, "module");
  set_text(host.bulletins[1].installDate, "2024-01-02");
  host.registration = "198.51.100.1";
  return host;
}

FakeHost bare_host() {
  FakeHost host;
  host.has_smbios = false;
  host.commands.clear();
  set_text(host.identity.system_type, "Server");
  set_text(host.identity.system_subtype, "Server_3");
  host.has_image_database = false;
  host.has_bmc_driver = false;
  host.has_channel = false;
  return host;
}

FakeHost odd_host() {
  FakeHost host = full_host();
  const std::string odd = "\xFF\xC3\x28 \x1B[31m\t\"\\";
  host.pci["ffff:ff:1f.7"] = {odd, odd, odd, odd, 255};
  host.pci["0000:03:00.0"] = {odd, odd, odd, odd, 255};
  host.drives = {{"ABC123" + std::string(100, 'x'), odd, odd}};
  set_text(host.identity.product, odd);
  host.major_version = '\x1B';
  host.memory = {-1, -1, -1, -1};
  host.components = {package(odd, odd), package(std::string(200, 'n'), "")};
  host.ipv4 = "0.0.0.0";
  host.variables = {{"KXHVM6", 255}, {"KXHVM8", UINT32_MAX}};
  host.registration = odd;
  return host;
}

// --- the SMBIOS table ---

// Wrapped, not replaced: the rows of the types and the dumps are the library's own.
extern "C" {
int __wrap_SmbListPciDevices(SmbPciAddress** addresses, uint32_t* count);
int __wrap_SmbListDrives(SmbDriveInfo** drives, uint32_t* count);
int __wrap_SmBiosInit();
int __wrap_SmBiosGetRecords(uint32_t type, void** records, uint32_t* count);
char* __wrap_SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function);
const char* __wrap_SmbGetPartNumber(uint32_t segment, uint32_t bus, uint32_t device,
                                    uint32_t function);
const char* __wrap_SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device,
                                 uint32_t function);
const char* __wrap_SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device,
                                         uint8_t function);
uint8_t __wrap_SmbGetNicPortNum(uint8_t segment, uint8_t bus, uint8_t device_function);
const char* __wrap_SmbGetHdLoc(const char* serial_number);
const char* __wrap_SmbGetHdString(const char* serial_number);
}

int __wrap_SmBiosInit() {
  return g_host.has_smbios ? 0 : -1;
}

int __wrap_SmBiosGetRecords(uint32_t type, void** records, uint32_t* count) {
  const auto& types = g_host.record_types;
  const bool found = std::find(types.begin(), types.end(), type) != types.end();
  *records = found ? make_record(type) : nullptr;
  *count = found ? 1 : 0;
  return found ? 0 : -1;
}

char* __wrap_SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function) {
  const FakePciDevice* found = find_device(segment, bus, device, function);
  return found != nullptr && !found->location.empty() ? strdup(found->location.c_str()) : nullptr;
}

const char* __wrap_SmbGetPartNumber(uint32_t segment, uint32_t bus, uint32_t device,
                                    uint32_t function) {
  const FakePciDevice* found = find_device(segment, bus, device, function);
  return found != nullptr ? text_of(found->part_number) : nullptr;
}

const char* __wrap_SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device,
                                 uint32_t function) {
  const FakePciDevice* found = find_device(segment, bus, device, function);
  return found != nullptr ? text_of(found->name) : nullptr;
}

const char* __wrap_SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device,
                                         uint8_t function) {
  const FakePciDevice* found = find_device(segment, bus, device, function);
  return found != nullptr ? text_of(found->linked_text) : nullptr;
}

uint8_t __wrap_SmbGetNicPortNum(uint8_t segment, uint8_t bus, uint8_t device_function) {
  const FakePciDevice* found = find_device(segment, bus, device_function >> 3, device_function & 7);
  return found != nullptr ? found->nic_port : uint8_t{0};
}

const char* __wrap_SmbGetHdLoc(const char* serial_number) {
  const FakeDrive* found = find_drive(serial_number);
  return found != nullptr ? text_of(found->location) : nullptr;
}

const char* __wrap_SmbGetHdString(const char* serial_number) {
  const FakeDrive* found = find_drive(serial_number);
  return found != nullptr ? text_of(found->text) : nullptr;
}

int __wrap_SmbListPciDevices(SmbPciAddress** addresses, uint32_t* count) {
  *count = 0;
  *addresses = static_cast<SmbPciAddress*>(calloc(g_host.pci.size() + 1, sizeof(SmbPciAddress)));
  for (const auto& [address, device] : g_host.pci) {
    std::array<unsigned, 4> numbers = {};
    sscanf(address.c_str(), "%x:%x:%x.%x", &numbers[0], &numbers[1], &numbers[2], &numbers[3]);
    if (numbers[1] == 0xFF) {
      continue;  // no device
    }
    (*addresses)[(*count)++] = {static_cast<uint16_t>(numbers[0]), static_cast<uint8_t>(numbers[1]),
                                static_cast<uint8_t>(numbers[2]), static_cast<uint8_t>(numbers[3])};
  }
  return 0;
}

int __wrap_SmbListDrives(SmbDriveInfo** drives, uint32_t* count) {
  *count = 0;
  *drives = static_cast<SmbDriveInfo*>(calloc(g_host.drives.size() + 1, sizeof(SmbDriveInfo)));
  for (const FakeDrive& drive : g_host.drives) {
    set_text((*drives)[(*count)++].serial, drive.serial);
  }
  return 0;
}

// --- the hypervisor ---

void getDistro(HostIdentity* record) {
  *record = g_host.identity;
}
char get_distro() {
  return g_host.major_version;
}
void update_mem_info(HostMemInfo* record) {
  *record = g_host.memory;
}
long HostUptime() {
  return 3600;
}

void init_sw_installed_table() {}
int SwDestroyTable() {
  return 0;
}

SwInstalledRec* get_software_installed_table(uint32_t* count) {
  *count = static_cast<uint32_t>(g_host.components.size());
  return g_host.components.data();
}

int SwFindInstalled(const char* name, SwInstalledRec* record) {
  for (const SwInstalledRec& component : g_host.components) {
    if (strcmp(component.name, name) == 0) {
      *record = component;
      return 1;
    }
  }
  return 0;
}

int SwListBulletins(SwInstalledRec** records, uint32_t* count) {
  *count = static_cast<uint32_t>(g_host.bulletins.size());
  *records = static_cast<SwInstalledRec*>(calloc(*count + 1, sizeof(SwInstalledRec)));
  std::copy(g_host.bulletins.begin(), g_host.bulletins.end(), *records);
  return 0;
}

const char* ortinv_image_database() {
  return "/var/db/esximg/bulletins/";
}

// --- the BMC ---

const char* ortinv_mode_variable() {
  return "KXHVM6";
}
const char* ortinv_interval_variable(int selector) {
  return selector == 8 ? "KXHVM8" : (selector == 9 ? "KXHVM9" : "KXHVMA");
}

int ortinv_interval_selector(uint32_t index) {
  return index < 3 ? static_cast<int>(index) + 8 : -1;
}

int ortinv_read_variable(const char* name, uint8_t* value, uint16_t capacity, uint16_t* /*length*/,
                         uint8_t* status) {
  if (!g_host.has_channel || !g_host.answers) {
    return g_host.has_channel ? kOrtinvReadNoAnswer : kOrtinvReadNoChannel;
  }
  const auto found = g_host.variables.find(name);
  if (found == g_host.variables.end()) {
    return kOrtinvReadMissing;
  }
  *status = g_host.variable_status;
  if (*status != 0) {
    return kOrtinvReadRefused;
  }
  for (size_t i = 0; i < capacity; ++i) {
    value[i] = static_cast<uint8_t>(found->second >> 8 * i);
  }
  return kOrtinvReadThere;
}

int setRevModeConfig(uint8_t value) {
  return write_variable("KXHVM6", value);
}

void ortinv_set_print_stream(FILE* stream) {
  g_print_stream = stream;
}
int setIntervalEV(int selector, uint32_t value) {
  if (g_print_stream != nullptr) {
    fputs("noise\n", g_print_stream);  // as the library's
  }
  return write_variable(ortinv_interval_variable(selector), value);
}

int get_Mox_IPv4(char* address) {
  if (address_result() == 0) {
    strcpy(address, g_host.ipv4.c_str());
  }
  return address_result();
}

int get_Mox_IPv6(char* address, int* ipv6_enabled, int* ipv4_enabled) {
  if (address_result() != 0 || !g_host.answers_ipv6) {
    return g_host.answers_ipv6 ? address_result() : -1;
  }
  if (address != nullptr) {
    strcpy(address, g_host.ipv6.c_str());
    *ipv6_enabled = g_host.ipv6.empty() ? 0 : 1;
    *ipv4_enabled = 1;
  }
  return 0;
}

const char* ortinv_entity_mib_path() {
  return g_host.registration_file.c_str();
}

int update_ent_mib_xml() {
  if (!g_host.can_register) {
    return 1;
  }
  std::ofstream(g_host.registration_file) << "<TAddress>" << g_host.ipv4 << "</TAddress>\n";
  return 0;
}

// --- what the host's files tell ---

extern "C" {
int __wrap_access(const char* path, int mode);
DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path);
}

int __wrap_access(const char* path, int mode) {
  const std::string text = path;
  if (text.starts_with("/vmfs/")) {
    return g_host.has_bmc_driver ? 0 : -1;
  }
  const auto is_there = [&](const std::string& name) { return text == "/bin/" + name; };
  const auto& commands = g_host.commands;
  const auto& files = g_host.plain_files;
  if (std::any_of(commands.begin(), commands.end(), is_there)) {
    return 0;
  }
  return mode != X_OK && std::any_of(files.begin(), files.end(), is_there) ? 0 : -1;
}

DIR* __wrap_opendir(const char* /*path*/) {
  errno = ENOENT;
  return g_host.has_image_database ? __real_opendir("/") : nullptr;
}

// --- the library itself ---

const char* ortinv_version() {
  return ORTINV_VERSION;
}
void ortinv_init_debug_log() {}
