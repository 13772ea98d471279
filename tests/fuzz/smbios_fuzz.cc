// SPDX-License-Identifier: Apache-2.0
// The firmware's table through every public function.
//
// Input: the debug switches; a PCI address to ask for (bus, device and function);
// a number of a string; the length at which string sets are taken to begin; then
// what the device gives.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "ortinv/smbios_table.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/smbios_answers.h"
#include "tests/fuzz/target.h"
#include "wire/little_endian.h"

namespace {

struct Questions {
  uint8_t bus;
  uint8_t device_function;
  uint8_t number;
  uint16_t length;
};

// A length of the table far beyond what is there makes thousands of structures of
// zeros, and executions of seconds (damage_test.cc has some): it is cut.
void cut_length(std::span<uint8_t> image) {
  constexpr std::string_view kAnchor = "_SM_";
  constexpr size_t kLengthOffset = 22;
  const auto anchor = std::search(image.begin(), image.end(), kAnchor.begin(), kAnchor.end());
  const auto offset = static_cast<size_t>(anchor - image.begin()) + kLengthOffset;
  if (offset + 2 <= image.size()) {
    const size_t most = image.size() + 256;
    put_u16(image, offset, static_cast<uint16_t>(std::min<size_t>(get_u16(image, offset), most)));
  }
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  std::vector<uint8_t> image(bytes.begin(), bytes.end());
  cut_length(image);
  Input input(image);
  FakeHost host(input);
  const Questions ask = {input.byte(), input.byte(), input.byte(), input.word()};
  const int result = SmBiosInit();
  require(result == 0 || result == -1, "a table is read or not");
  require(host.open_descriptors() == 0, "the device is closed again");
  if (result == 0) {
    const StructureCounts counts = walk_table(host);
    ask_for_device(ask.bus, ask.device_function, host);
    ask_for_drive("SN1", host);
    list_all(counts, host);
    decode_all(counts, host);
    clean_strings(ask.length, ask.number, host);
  }
  require(SmBiosTerm() == 0, "the table is released");
  require(SmBiosTerm() == 0, "a second release does nothing");
  const uint8_t* structure = nullptr;
  require(SmBiosNextStructure(&structure) == 0, "without a table there is nothing to walk");
  host.tell(std::to_string(result));
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
