// SPDX-License-Identifier: Apache-2.0
#include "tests/unit/smbios/loaded_table.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "log/debug_flags.h"

MemoryFile::MemoryFile(const std::vector<uint8_t>& content)
    : descriptor_(memfd_create("smbios", 0)) {
  const auto length = static_cast<ssize_t>(content.size());
  EXPECT_EQ(pwrite(descriptor_, content.data(), content.size(), 0), length);
}

MemoryFile::~MemoryFile() {
  close(descriptor_);
}

int init_from(const std::vector<uint8_t>& device_content) {
  const MemoryFile device(device_content);
  CallScript script;
  script.open(kSmbiosDevice, O_RDONLY | O_SYNC).returns(device.descriptor());
  script.close(device.descriptor());
  return SmBiosInit();
}

std::vector<uint8_t> image_at_block_end(const SmbiosTable& table) {
  constexpr size_t kEntryPointSize = 31;
  constexpr size_t kEntryLengthOffset = 5;
  const size_t used = kEntryPointSize + table.structures().size();
  const size_t gap = (kBlockSize - used) % 4;
  const size_t entry = kBlockSize - used - gap;
  std::vector<uint8_t> image = table.device_image(entry);
  image.at(entry + kEntryLengthOffset) = static_cast<uint8_t>(kEntryPointSize + gap);
  image.insert(image.begin() + static_cast<std::ptrdiff_t>(entry + kEntryPointSize), gap, 0);
  return image;
}

const uint8_t* LoadedTable::structure_of(uint8_t type, uint16_t index) {
  const uint8_t* structure = nullptr;
  EXPECT_EQ(SmBiosFindStructure(type, index, &structure), 1);
  return structure;
}

Lines LoadedTable::lines_of(const std::function<void()>& call) {
  CallScript script;
  script.file("/tmp/smbios.text");
  g_utilities_debug_flag = 1;
  call();
  g_utilities_debug_flag = 0;
  return script.logs();
}
