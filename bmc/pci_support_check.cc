// SPDX-License-Identifier: Apache-2.0
#include "ortinv/pci_support_check.h"

#include <array>
#include <cstdio>

#include "base/file.h"
#include "base/text.h"
#include "log/log.h"

namespace {

// Not the generation that the status query accepts: two facilities for two callers
// (docs/oddities.md: two-supported-generations).
constexpr int kPciGeneration = 5;
constexpr unsigned kVendor = 0x103C;
constexpr unsigned kDevice = 0x3307;
constexpr unsigned kSubVendor = 0x1590;
constexpr unsigned kSubDevice = 0x00E4;
constexpr unsigned kOtherSubDevice = 0x027F;

using Line = std::array<char, 1024>;

// Each of these takes the value 0, which is no function's, when the line does
// not parse.
unsigned vendor_of(const Line& line) {
  unsigned value = 0;
  sscanf(line.data(), "   Vendor ID: 0x%x", &value);
  return value;
}
unsigned device_of(const Line& line) {
  unsigned value = 0;
  sscanf(line.data(), "   Device ID: 0x%x", &value);
  return value;
}
unsigned sub_vendor_of(const Line& line) {
  unsigned value = 0;
  sscanf(line.data(), "   SubVendor ID: 0x%x", &value);
  return value;
}
unsigned sub_device_of(const Line& line) {
  unsigned value = 0;
  sscanf(line.data(), "   SubDevice ID: 0x%x", &value);
  return value;
}

// Reads the three lines after a matching vendor line, as far as they match. The
// scan goes on behind the line that did not, even if that names a vendor.
bool rest_matches(FILE* list, int32_t generation) {
  Line line = {};
  if (!read_line(list, line) || !holds(line.data(), "Device ID:") || device_of(line) != kDevice) {
    return false;
  }
  if (!read_line(list, line) || !holds(line.data(), "SubVendor ID:") ||
      sub_vendor_of(line) != kSubVendor || generation != kPciGeneration) {
    return false;
  }
  if (!read_line(list, line) || !holds(line.data(), "SubDevice ID:")) {
    return false;
  }
  const unsigned sub_device = sub_device_of(line);
  return sub_device == kSubDevice || sub_device == kOtherSubDevice;
}

}  // namespace

int system_is_supported(int32_t generation) {
  const Command list = start_command("/sbin/localcli hardware pci list");
  if (list == nullptr) {
    UtilLog("system_is_supported(): Error popen\n");
    return 0;
  }
  Line line = {};
  while (read_line(list.get(), line)) {
    if (holds(line.data(), "Vendor ID:") && vendor_of(line) == kVendor &&
        rest_matches(list.get(), generation)) {
      return 1;
    }
  }
  return 0;
}
