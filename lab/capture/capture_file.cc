// SPDX-License-Identifier: Apache-2.0
#include "lab/capture/capture_file.h"

#include <pcap/pcap.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/file.h"
#include "lab/capture/record_header.h"

namespace {

// More than any packet here has.
constexpr int kSnapLength = 65535;

int data_link_of(LinkType type) {
  switch (type) {
    case LinkType::kChannel:
      return DLT_USER0;
    case LinkType::kAgent:
      return DLT_USER1;
    case LinkType::kIp:
      break;
  }
  return DLT_RAW;
}

// Writes what is buffered; false with errno. libpcap keeps quiet about a record
// that it could not write, and about all that follow.
bool flush(pcap_dumper* dumper) {
  return pcap_dump_flush(dumper) == 0 && ferror(pcap_dump_file(dumper)) == 0;
}

}  // namespace

void PcapCloser::operator()(pcap* handle) const {
  pcap_close(handle);
}

void CaptureFile::DumperCloser::operator()(pcap_dumper* dumper) const {
  pcap_dump_close(dumper);
}

std::string CaptureFile::open(const std::string& path, LinkType type) {
  dumper_.reset();
  path_ = path;
  File file = open_to_write(path.c_str());
  if (!file) {
    return path + ": cannot write: " + std::strerror(errno);
  }
  // Room for a whole record, so that it goes out in one piece.
  setvbuf(file.get(), nullptr, _IOFBF, size_t{2} * kSnapLength);
  format_.reset(pcap_open_dead_with_tstamp_precision(data_link_of(type), kSnapLength,
                                                     PCAP_TSTAMP_PRECISION_NANO));
  dumper_.reset(pcap_dump_fopen(format_.get(), file.get()));
  if (!dumper_) {
    return path + ": " + pcap_geterr(format_.get());
  }
  static_cast<void>(file.release());  // the dumper closes it
  if (flush(dumper_.get())) {
    return "";
  }
  const std::string why = std::strerror(errno);
  dumper_.reset();
  return path + ": cannot write: " + why;
}

std::string CaptureFile::record(const timespec& when, std::span<const uint8_t> packet,
                                size_t length) {
  if (!dumper_) {
    return "";
  }
  // The format has nanoseconds where the record's type says microseconds.
  const pcap_pkthdr header = {.ts = {.tv_sec = when.tv_sec, .tv_usec = when.tv_nsec},
                              .caplen = static_cast<bpf_u_int32>(packet.size()),
                              .len = static_cast<bpf_u_int32>(length)};
  pcap_dump(reinterpret_cast<u_char*>(dumper_.get()), &header, packet.data());
  if (flush(dumper_.get())) {
    return "";
  }
  const std::string why = std::strerror(errno);
  dumper_.reset();
  return path_ + ": cannot write, the recording ends: " + why;
}

std::string CaptureFile::record(uint8_t direction, uint32_t source,
                                std::span<const uint8_t> packet) {
  const auto header = make_record_header(direction, source);
  std::vector<uint8_t> bytes(header.begin(), header.end());
  bytes.insert(bytes.end(), packet.begin(), packet.end());
  timespec now = {};
  clock_gettime(CLOCK_REALTIME, &now);
  return record(now, bytes, bytes.size());
}
