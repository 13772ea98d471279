// SPDX-License-Identifier: Apache-2.0
// Types 0, 1 and 9 as dmidecode reads them from the same tables: a check of our
// reading of the standard structures against another program's.
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>

#include "ortinv/smbios_records.h"
#include "tests/support/smbios/sample_host.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

// One structure of dmidecode's output: its fields by name. Lines of a list are
// counted under the list's name.
struct Decoded {
  unsigned handle = 0;
  int type = 0;
  int length = 0;
  std::map<std::string, std::string> fields;
  std::map<std::string, int> lists;
};

std::string run_dmidecode(const SmbiosTable& table) {
  const std::string path = testing::TempDir() + "dmidecode_test." + std::to_string(getpid());
  EXPECT_TRUE(write_file(path, table.dmidecode_dump()));
  const std::string command = "PATH=\"$PATH:/usr/sbin:/sbin\" dmidecode --from-dump '" + path + "'";
  FILE* pipe = popen(command.c_str(), "r");
  std::string output;
  for (int character = fgetc(pipe); character != EOF; character = fgetc(pipe)) {
    output.push_back(static_cast<char>(character));
  }
  const int status = pclose(pipe);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << "cannot run dmidecode, Debian's package dmidecode: status " << status;
  remove(path.c_str());
  return output;
}

std::vector<Decoded> decoded_by_dmidecode(const SmbiosTable& table) {
  std::vector<Decoded> structures;
  std::istringstream lines(run_dmidecode(table));
  std::string list;
  for (std::string line; std::getline(lines, line);) {
    Decoded header;
    if (sscanf(line.c_str(), "Handle 0x%x, DMI type %d, %d bytes", &header.handle, &header.type,
               &header.length) == 3) {
      structures.push_back(header);
    } else if (line.starts_with("\t\t")) {
      ++structures.back().lists[list];
    } else if (line.starts_with("\t")) {
      const size_t colon = line.find(':');
      list = line.substr(1, colon - 1);
      structures.back().fields[list] = line.size() > colon + 2 ? line.substr(colon + 2) : "";
    }
  }
  return structures;
}

std::vector<Decoded> of_type(const std::vector<Decoded>& all, int type) {
  std::vector<Decoded> some;
  for (const Decoded& structure : all) {
    if (structure.type == type) {
      some.push_back(structure);
    }
  }
  return some;
}

std::string text(const char* ours) {
  return std::string(ours) == "Undefined" ? "Not Specified" : ours;
}

[[gnu::format(printf, 1, 2)]] std::string formatted(const char* format, ...) {
  char buffer[64] = {};
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

void expect_header(const SmbRecordHeader& header, const Decoded& decoded) {
  EXPECT_EQ(header.type, decoded.type);
  EXPECT_EQ(header.length, decoded.length);
  EXPECT_EQ(0U + header.handle, decoded.handle);
}

void expect_same(const SmbBiosInfoRec& record, const Decoded& decoded) {
  const auto& fields = decoded.fields;
  expect_header(record.header, decoded);
  EXPECT_EQ(text(record.vendor), fields.at("Vendor"));
  EXPECT_EQ(text(record.version), fields.at("Version"));
  EXPECT_EQ(text(record.releaseDate), fields.at("Release Date"));
  EXPECT_EQ(formatted("0x%X0", record.address), fields.at("Address"));
  const std::string size = record.romSize % 1024 == 0 ? formatted("%u MB", record.romSize / 1024U)
                                                      : formatted("%u kB", record.romSize);
  EXPECT_EQ(size, fields.at("ROM Size"));
  // One line for each characteristic; the first four bits are none.
  int characteristics = std::popcount(record.characteristics[0] & 0xF0U);
  for (const uint8_t byte :
       {record.characteristics[1], record.characteristics[2], record.characteristics[3],
        record.extCharacteristics1, record.extCharacteristics2}) {
    characteristics += std::popcount(byte);
  }
  EXPECT_EQ(characteristics, decoded.lists.at("Characteristics"));
}

void expect_same(const SmbSystemInfoRec& record, const Decoded& decoded) {
  const std::map<int, std::string> wake_ups = {{3, "APM Timer"}, {6, "Power Switch"}};
  const auto& fields = decoded.fields;
  expect_header(record.header, decoded);
  EXPECT_EQ(text(record.manufacturer), fields.at("Manufacturer"));
  EXPECT_EQ(text(record.productName), fields.at("Product Name"));
  EXPECT_EQ(text(record.version), fields.at("Version"));
  EXPECT_EQ(text(record.serialNumber), fields.at("Serial Number"));
  EXPECT_EQ(record.uuid, fields.at("UUID"));
  EXPECT_EQ(wake_ups.at(record.wakeUpType), fields.at("Wake-up Type"));
  if (record.header.length >= 27) {
    EXPECT_EQ(text(record.sku), fields.at("SKU Number"));
    EXPECT_EQ(text(record.family), fields.at("Family"));
  }
}

void expect_same(const SmbSlotRec& record, const Decoded& decoded) {
  const std::map<int, std::string> widths = {
      {0x05, "32-bit"}, {0x0A, "x4"}, {0x0B, "x8"}, {0x0D, "x16"}};
  const std::map<int, std::string> types = {{0x06, "PCI"},
                                            {0xA5, "PCI Express"},
                                            {0xB4, "PCI Express 3 x4"},
                                            {0xB5, "PCI Express 3 x8"},
                                            {0xB6, "PCI Express 3 x16"}};
  const std::map<int, std::string> usages = {{3, "Available"}, {4, "In Use"}};
  const std::map<int, std::string> lengths = {{3, "Short"}, {4, "Long"}};
  const auto& fields = decoded.fields;
  expect_header(record.header, decoded);
  EXPECT_EQ(text(record.designation), fields.at("Designation"));
  EXPECT_EQ(widths.at(record.busDataWidth) + " " + types.at(record.type), fields.at("Type"));
  EXPECT_EQ(usages.at(record.currentUsage), fields.at("Current Usage"));
  EXPECT_EQ(lengths.at(record.length), fields.at("Length"));
  EXPECT_EQ(std::to_string(record.id), fields.at("ID"));
  EXPECT_EQ(std::popcount(record.characteristics1) + std::popcount(record.characteristics2),
            decoded.lists.at("Characteristics"));
  if (record.header.length >= 17) {
    EXPECT_EQ(formatted("%04x:%02x:%02x.%x", record.segmentGroupNum, record.busNum,
                        record.devFuncNum >> 3U, record.devFuncNum & 7U),
              fields.at("Bus Address"));
  }
}

class Dmidecode : public LoadedTable {
 protected:
  template <typename Record>
  static void expect_same_records(uint8_t type, const std::vector<Decoded>& all, size_t count) {
    const auto ours = records_of<Record>(type);
    const auto theirs = of_type(all, type);
    ASSERT_EQ(ours.size(), count);
    ASSERT_EQ(theirs.size(), count);
    for (size_t index = 0; index < count; ++index) {
      expect_same(ours[index], theirs[index]);
    }
  }
};

TEST_F(Dmidecode, ReadsTheSampleHostAsWeDo) {
  const SmbiosTable table = sample_host_table();
  load(table);
  const auto theirs = decoded_by_dmidecode(table);
  EXPECT_EQ(theirs.size(), 35U);
  expect_same_records<SmbBiosInfoRec>(0, theirs, 1);
  expect_same_records<SmbSystemInfoRec>(1, theirs, 1);
  expect_same_records<SmbSlotRec>(9, theirs, 8);
}

TEST_F(Dmidecode, ReadsOtherLengthsMissingTextsAndBytesThatCannotBePrintedAsWeDo) {
  const SmbiosTable table =
      SmbiosTable()
          .add(SmbiosStructure(9, 0xFFFE, 17)
                   .string(4, "Riser\x01\x7F/\xE9")
                   .bytes(5, {0xA5, 0x0D, 4, 4})
                   .u16(9, 200)
                   .u8(11, 0xFC)
                   .u8(12, 0x07)
                   .u16(13, 0x1234)
                   .u8(15, 0xFE)
                   .u8(16, 0xFF))
          .add(SmbiosStructure(0, 0x0001, 22)
                   .string(4, "V")
                   .string(8, "D")
                   .u16(6, 0xE123)
                   .u8(9, 2)
                   .bytes(10, {0x90, 0x01, 0x00, 0x80, 0, 0, 0, 0, 0x81, 0x04}))
          .add(SmbiosStructure(1, 0x0002, 25)
                   .string(6, "third field, first string")
                   .bytes(8, {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0x1E, 0x80, 1, 2, 3, 4, 5,
                              6, 7})
                   .u8(24, 3))
          .add(SmbiosStructure(9, 0x0003, 13)
                   .string(4, "Old")
                   .bytes(5, {0x06, 0x05, 3, 3, 1, 0, 4, 1}));
  load(table);
  const auto theirs = decoded_by_dmidecode(table);
  EXPECT_EQ(theirs.size(), 4U);
  expect_same_records<SmbBiosInfoRec>(0, theirs, 1);
  expect_same_records<SmbSystemInfoRec>(1, theirs, 1);
  expect_same_records<SmbSlotRec>(9, theirs, 2);
}

}  // namespace
