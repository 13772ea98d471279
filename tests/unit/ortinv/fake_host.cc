// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/ortinv/fake_host.h"

#include <dirent.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "ortinv/entity_mib.h"
#include "ortinv/interval.h"
#include "ortinv/library.h"
#include "ortinv/network_address.h"
#include "ortinv/oem_queries.h"
#include "ortinv/rev_mode.h"
#include "ortinv/smbios_load.h"
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

FILE* g_print_stream = stdout;

int write_variable(const std::string& name, uint32_t value) {
  if (!g_host.takes_values) {
    return 1;
  }
  g_host.variables[name] = value;
  FakeWrites& writes = fake_writes();
  ++writes.count;
  snprintf(writes.name, sizeof writes.name, "%s", name.c_str());
  writes.value = value;
  return 0;
}

int address_result() {
  return !g_host.has_channel ? 1 : (g_host.answers ? 0 : -1);
}

SmbiosTable full_table() {
  SmbiosTable table;
  table.add(SmbiosStructure(0, 0, 24).string(4, "Example BIOS").u8(9, 0x7F));
  table.add(SmbiosStructure(1, 0x1234, 27).string(5, "Example Server").string(7, "SN1"));
  table.add(SmbiosStructure(9, 0x0901, 17).string(4, "PCI-E Slot 1").u8(15, 3));
  table.add(SmbiosStructure(195, 0xC300, 5).string(4, "ID1"));
  table.add(SmbiosStructure(204, 0xCC00, 11).string(4, "Rack 1"));
  table.add(SmbiosStructure(222, 0xDE00, 22).bytes(6, {0x11, 0x80}));
  table.add(SmbiosStructure(127, 0x7F00, 4));
  return table;
}

}  // namespace

FakeWrites& fake_writes() {
  static auto* writes = static_cast<FakeWrites*>(
      mmap(nullptr, sizeof(FakeWrites), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *writes;
}

FakeCommands::FakeCommands() : folder_("/tmp/fake_commands_XXXXXX") {
  if (mkdtemp(folder_.data()) == nullptr) {
    abort();
  }
  for (const std::string& name : g_host.commands) {
    const std::string path = folder_ + "/" + name;
    std::ofstream script(path);
    script << "#!/bin/sh\n";
    if (name == "vsish" && g_host.vsish_hangs) {
      script << "exec /bin/sleep 1000\n";
    } else {
      script << "/bin/cat <<'END'\n" << (name == "vsish" ? g_host.vsish : "") << "END\n";
    }
    script.close();
    chmod(path.c_str(), 0755);
  }
  for (const std::string& name : g_host.plain_files) {
    std::ofstream(folder_ + "/" + name) << "no command\n";
  }
  if (g_host.has_path) {
    setenv("PATH", ("/nowhere:" + folder_).c_str(), 1);
  } else {
    unsetenv("PATH");
  }
}

FakeCommands::~FakeCommands() {
  std::filesystem::remove_all(folder_);
}

FakeHost full_host() {
  FakeHost host;
  host.table = full_table();
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
char* __wrap_SmbGetPciLocation(uint32_t segment, uint32_t bus, uint32_t device, uint32_t function);
const char* __wrap_SmbGetPartNumber(uint32_t segment, uint32_t bus, uint32_t device,
                                    uint32_t function);
const char* __wrap_SmbGetPciName(uint32_t segment, uint32_t bus, uint32_t device,
                                 uint32_t function);
const char* __wrap_SmbGetPciLinkedString(uint8_t segment, uint8_t bus, uint8_t device,
                                         uint8_t function);
uint8_t __wrap_SmbGetNicPortNum(uint8_t segment, uint8_t bus, uint8_t device_function);
}

int __wrap_SmBiosInit() {
  if (!g_host.has_smbios) {
    return -1;
  }
  const std::vector<uint8_t> image = g_host.table.device_image();
  return SmBiosLoadDump(image.data(), image.size(), nullptr, 0);
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
    SmbDriveInfo& listed = (*drives)[(*count)++];
    set_text(listed.serial, drive.serial);
    listed.location = text_of(drive.location);
    listed.text = text_of(drive.text);
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
  while (g_host.bmc_hangs) {
    pause();
  }
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
  }
  if (ipv6_enabled != nullptr) {
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
  if (g_host.stops_answering) {
    return 1;
  }
  const std::string& address = g_host.ipv4 == "0.0.0.0" ? g_host.ipv6 : g_host.ipv4;
  std::ofstream(g_host.registration_file) << "<TAddress>" << address << "</TAddress>\n";
  return 0;
}

// --- what the host's files tell ---

extern "C" {
int __real_access(const char* path, int mode);
int __wrap_access(const char* path, int mode);
DIR* __real_opendir(const char* path);
DIR* __wrap_opendir(const char* path);
}

int __wrap_access(const char* path, int mode) {
  if (std::string_view(path).starts_with("/vmfs")) {
    return g_host.has_bmc_driver ? 0 : -1;
  }
  return __real_access(path, mode);
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
