// SPDX-License-Identifier: Apache-2.0
// fuzz_seeds SOURCE_FOLDER FOLDER: writes each target's first inputs into
// FOLDER/TARGET, from the captured notifications, the sample host's table and
// files, the lab's scenarios and the tests' packet builders.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <string_view>

#include "tests/support/packets.h"
#include "tests/support/smbios/sample_host.h"
#include "wire/chif.h"

namespace {

namespace fs = std::filesystem;

using Seeds = std::multimap<std::string, Bytes>;

// What the switches say: nothing, or everything.
constexpr uint8_t kQuiet = 0;
constexpr uint8_t kEverything = 0x0F;

std::string content_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// Captured notifications: hexadecimal, comments, and the trap that comes of it.
Bytes captured(const fs::path& path) {
  std::ifstream file(path);
  std::string hex;
  for (std::string line; std::getline(file, line) && !line.starts_with("trap:");) {
    hex += line.substr(0, line.find('#')) + ' ';
  }
  return bytes_of(hex);
}

std::vector<Bytes> notifications(const fs::path& source) {
  std::vector<Bytes> all = {fan_notification(), NotifyBuilder().bytes()};
  for (const auto& entry : fs::directory_iterator(source / "tests/data/notifications")) {
    all.push_back(captured(entry.path()));
  }
  all.push_back(NotifyBuilder()
                    .uptime(7)
                    .trap_oid("1.3.6.1.4.1.32473.1.0.6061")
                    .counter64("1.3.6.1.4.1.32473.1.1", 1)
                    .null("1.3.6.1.4.1.32473.1.2")
                    .opaque("1.3.6.1.4.1.32473.1.3", bytes_of("01 02"))
                    .community("private")
                    .bytes());
  return all;
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes whole;
  for (const Bytes& part : parts) {
    whole.insert(whole.end(), part.begin(), part.end());
  }
  return whole;
}

// Bytes behind their 16-bit length.
Bytes piece(const Bytes& bytes) {
  const size_t size = bytes.size();
  return joined({{static_cast<uint8_t>(size & 0xFF), static_cast<uint8_t>(size >> 8)}, bytes});
}

// One read of the channel; see FakeHost::read_channel for the control byte.
Bytes read_of(uint8_t control, const Bytes& packet) {
  return joined({{control}, piece(packet)});
}

Bytes relayed(const Bytes& pdu) {
  return ChifBuilder(0x0093).svc(chif::kSvcProxy).agentx(pdu).bytes();
}

Bytes text(std::string_view characters) {
  return text_bytes(characters);
}

void add_packets(Seeds& seeds, const fs::path& source) {
  const Bytes log = ChifBuilder(chif::kCmdImlLog).svc(13).u16_at(8, 9).text("50% full.").bytes();
  const auto shutdown = [](uint32_t action) {
    return ChifBuilder(chif::kCmdShutdown).u32_at(8, action).u32_at(12, 60).text("fire").bytes();
  };
  const Bytes status = ChifBuilder(chif::kCmdStatusResponse).errcode(11).sized(40).bytes();
  const Bytes hello = ChifBuilder(chif::kCmdHelloResponse).errcode(0).sized(24).bytes();
  for (const uint8_t switches : {kQuiet, kEverything}) {
    const Bytes start = {switches, 1, 1};
    for (const Bytes& packet : {log, shutdown(0), shutdown(1), shutdown(2), status, hello}) {
      seeds.emplace("dispatcher", joined({start, read_of(0, packet)}));
    }
    const Bytes abort = joined({read_of(0, shutdown(1)), read_of(0, shutdown(2))});
    seeds.emplace("dispatcher", joined({start, abort}));
    for (const Bytes& pdu : notifications(source)) {
      seeds.emplace("dispatcher", joined({start, read_of(0, relayed(pdu))}));
      seeds.emplace("notification", joined({{switches}, pdu}));
      seeds.emplace("agent_socket", joined({{switches}, piece(pdu)}));
      const Bytes half(pdu.begin(), pdu.begin() + static_cast<std::ptrdiff_t>(pdu.size() / 2));
      seeds.emplace("agent_socket", joined({{switches}, piece(half), piece(pdu)}));
    }
    const Bytes reply = joined({{0}, read_of(2, hello)});
    const Bytes more =
        ChifBuilder(chif::kCmdHelloResponse).u32_at(8, 0).u16_at(14, 1).sized(24).bytes();
    const Bytes bye = joined({{0}, read_of(2, ChifBuilder(0x8193).sized(4084).bytes())});
    seeds.emplace("handshake", joined({{switches, 0x81, 1, 0}, reply, reply, bye}));
    seeds.emplace("handshake", joined({{switches, 1, 1, 0}, {0}, read_of(2, more), reply, reply}));
  }
}

void add_queries(Seeds& seeds) {
  const auto nvram = [](uint8_t status, std::string_view value) {
    return ChifBuilder(0)
        .svc(1)
        .bytes_at(8, bytes_of("dc 02 00 00"))
        .u8_at(12, status)
        .u16_at(13, 1)
        .bytes_at(15, bytes_of(value))
        .bytes();
  };
  for (uint8_t query = 0; query < 8; ++query) {
    for (const uint8_t status : {uint8_t{0}, uint8_t{0x88}, uint8_t{1}}) {
      const Bytes start = {kEverything, 0, query, 8, 0};
      const Bytes answer = read_of(2, nvram(status, "01 02 03 04"));
      seeds.emplace("nvram", joined({start, answer, answer}));
      seeds.emplace("nvram", joined({start, {0xF2, 0xE0}, answer}));
    }
  }
  const Bytes ipv4 = ChifBuilder(0x8032).bytes_at(32, bytes_of("0a 00 00 c0")).sized(276).bytes();
  const Bytes no_ipv4 = ChifBuilder(0x8032).sized(276).bytes();
  const Bytes ipv6 = ChifBuilder(0x8120)
                         .u32_at(12, 3)
                         .bytes_at(20, bytes_of("fe80 0000 0000 0000 1122 33ff fe44 5566"))
                         .sized(512)
                         .bytes();
  for (const Bytes& address : {ipv4, no_ipv4}) {
    const Bytes start = {kEverything, 0, 0};
    seeds.emplace("entity_mib", joined({start, read_of(0, ipv6), read_of(0, address)}));
  }
  const Bytes status =
      ChifBuilder(0x8002).u16_at(16, 0x0207).u32_at(18, 0x9ABCDEF0).u8_at(71, 6).sized(100).bytes();
  for (const auto state : {uint8_t{0}, uint8_t{1}, uint8_t{3}}) {
    const Bytes start = {kEverything, state};
    seeds.emplace("status_file", joined({start, text("Mox6\r\n"), {0}, read_of(0, status)}));
  }
}

void add_host_texts(Seeds& seeds) {
  Bytes version(32 + 128 + 32 + 32, 0);
  const auto put = [&](size_t offset, std::string_view characters) {
    std::ranges::copy(characters, version.begin() + static_cast<std::ptrdiff_t>(offset));
  };
  put(0, "VMware ESXi");
  put(32, "8.0.2");
  put(160, "2");
  put(192, "15");
  seeds.emplace("host_texts",
                joined({{kEverything, 0},
                        version,
                        {1, 2, 3, 0},
                        text("   Physical memory estimate:268026888 KB\n   Free:225218616 KB\n"),
                        {0},
                        text("   reserved-memory:35651584 KB\n   available-memory:220200960 KB\n"),
                        {0},
                        text("8.0.2\n"),
                        {0},
                        text("VMkernel esx 8.0.2 #1 SMP x86_64\n"),
                        {0},
                        text("   Vendor ID: 0x103c\n   Device ID: 0x3307\n   SubVendor ID: 0x1590\n"
                             "   SubDevice ID: 0x00e4\n"),
                        {0}}));
}

void add_texts(Seeds& seeds, const fs::path& source) {
  constexpr std::string_view kTargets =
      "<config><snmpSettings><enable>true</enable>\n<targets>192.0.2.7@162 public;"
      "198.51.100.9@1162 ops;a@1 b;c@2 d</targets>\n</snmpSettings></config>\n";
  seeds.emplace("snmp_xml", joined({{kEverything}, text(kTargets)}));
  const std::string longest(40, 'x');
  seeds.emplace(
      "snmp_xml",
      joined({{kQuiet}, text("<enable>true<targets>" + longest + "@1 public</targets>")}));
  seeds.emplace("interface_list",
                joined({{kEverything},
                        text("Name  IPv4 Address  IPv4 Netmask  Broadcast  Type\n"
                             "----  ------------  ------------  ---------  ----\n"
                             "vmk1  192.0.2.9 255.255.255.0 192.0.2.255 STATIC\n"
                             "vmk0  192.0.2.20 255.255.255.0 192.0.2.255 DHCP\n")}));
  for (const std::string_view line : {"50% full, 100%% sure: %m %n %s %999999999d%", "fan 3\n"}) {
    seeds.emplace("log_text", joined({{kEverything, 2}, text(line)}));
    seeds.emplace("log_text", joined({{kQuiet, 5}, text(std::string(504, 'x')), text(line)}));
  }
  Bytes software = {kEverything};
  for (const auto& entry : fs::directory_iterator(source / "lab/host/var/db/esximg/bulletins")) {
    const Bytes file =
        joined({text(entry.path().filename().string()), {0}, text(content_of(entry.path())), {0}});
    software = joined({software, file});
    seeds.emplace("software", joined({{kQuiet}, file}));
  }
  seeds.emplace("software", software);
  add_host_texts(seeds);
  for (const auto& entry : fs::directory_iterator(source / "lab/scenarios")) {
    seeds.emplace("scenario", text(content_of(entry.path())));
  }
}

// A question, then the device's whole content.
void add_tables(Seeds& seeds) {
  const Bytes ask = {kEverything, 0x11, 0x00, 1, 4, 0};
  seeds.emplace("smbios", joined({ask, sample_host_table().device_image()}));
  const SmbiosTable small =
      SmbiosTable()
          .add(SmbiosStructure(0, 0x10, 24).string(4, "Vendor").string(5, "1.0").string(8, "date"))
          .add(SmbiosStructure(1, 0x11, 27).string(4, "Maker").string(5, "Product"))
          .add(SmbiosStructure(9, 0x0901, 17).string(4, "Slot").u8(15, 0x11))
          .add(SmbiosStructure(41, 0x2900, 11).string(4, "NIC").u8(9, 2).u8(10, 8))
          .add(
              SmbiosStructure(203, 0x2001, 40).u16(4, 0x0901).string(30, "name").string(34, "part"))
          .add(SmbiosStructure(204, 0x16, 11).string(4, "Rack").string(10, "S"))
          .add(SmbiosStructure(222, 0x17, 38).u16(4, 1).u8(6, 0x11))
          .add(SmbiosStructure(233, 0x13, 41).u8(6, 2).u8(7, 8))
          .add(SmbiosStructure(240, 0x14, 11).u16(4, 0x2001).string(10, "linked"))
          .add(
              SmbiosStructure(242, 0x15, 43).string(39, " SN1 ").string(40, "t").string(42, "bay"));
  seeds.emplace("smbios", joined({ask, small.device_image()}));
  seeds.emplace("smbios", joined({ask, small.device_image(64)}));
}

bool write_seeds(const Seeds& seeds, const fs::path& folder) {
  std::map<std::string, int> numbers;
  for (const auto& [target, bytes] : seeds) {
    const fs::path place = folder / target;
    fs::create_directories(place);
    if (!write_file(place / ("seed-" + std::to_string(++numbers[target])), bytes)) {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fputs("usage: fuzz_seeds SOURCE_FOLDER FOLDER\n", stderr);
    return 2;
  }
  Seeds seeds;
  add_packets(seeds, argv[1]);
  add_queries(seeds);
  add_texts(seeds, argv[1]);
  add_tables(seeds);
  return write_seeds(seeds, argv[2]) ? 0 : 1;
}
