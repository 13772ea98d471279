// SPDX-License-Identifier: Apache-2.0
// A recording in libpcap's file format, with nanoseconds, as Wireshark and
// tcpdump read it. Every record is in the file when record() returns, so that
// nothing is missing when the recording program is killed.
#ifndef TVUREV_LAB_CAPTURE_CAPTURE_FILE_H_
#define TVUREV_LAB_CAPTURE_CAPTURE_FILE_H_

#include <cstdint>
#include <ctime>
#include <memory>
#include <span>
#include <string>

struct pcap;
struct pcap_dumper;
struct PcapCloser {
  void operator()(pcap* handle) const;
};
using Pcap = std::unique_ptr<pcap, PcapCloser>;

// What a recording's packets are.
enum class LinkType {
  kChannel,  // USER0: record header, CHIF packet
  kAgent,    // USER1: record header, what one receive of the daemon gave
  kIp,       // RAW: IPv4 and IPv6 packets
};

class CaptureFile {
 public:
  // Starts a recording, in the place of any older file. Returns an empty text,
  // or what went wrong.
  std::string open(const std::string& path, LinkType type);
  bool is_open() const { return dumper_ != nullptr; }

  // Writes one packet, in two parts where a header of ours comes first; length is
  // its true one where less of it was seen. Does nothing when no recording is
  // open. The first failure closes the recording and returns what went wrong;
  // otherwise returns an empty text.
  std::string record(const timespec& when, std::span<const uint8_t> packet, size_t length);
  std::string record(uint8_t direction, uint32_t source, std::span<const uint8_t> packet);

 private:
  struct DumperCloser {
    void operator()(pcap_dumper* dumper) const;
  };

  std::string path_;
  Pcap format_;
  std::unique_ptr<pcap_dumper, DumperCloser> dumper_;
};

#endif  // TVUREV_LAB_CAPTURE_CAPTURE_FILE_H_
