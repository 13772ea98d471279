// SPDX-License-Identifier: Apache-2.0
#include "lab/capture/trap_capture.h"

#include <net/ethernet.h>
#include <pcap/pcap.h>

#include <array>

namespace {

constexpr const char* kInterface = "lo";
constexpr const char* kFilter = "udp dst port 162";

// A trap is at most half as long. The kernel keeps as many slots of this size as
// the buffer holds, some two thousand.
constexpr int kSnapLength = 8192;
constexpr int kBufferBytes = 16 << 20;

std::string filter(pcap* interface) {
  bpf_program program = {};
  const bool set = pcap_compile(interface, &program, kFilter, 1, PCAP_NETMASK_UNKNOWN) == 0 &&
                   pcap_setfilter(interface, &program) == 0;
  pcap_freecode(&program);
  return set ? "" : pcap_geterr(interface);
}

std::string listen_at(pcap* interface) {
  pcap_set_snaplen(interface, kSnapLength);
  pcap_set_buffer_size(interface, kBufferBytes);
  pcap_set_immediate_mode(interface, 1);
  pcap_set_tstamp_precision(interface, PCAP_TSTAMP_PRECISION_NANO);
  if (pcap_activate(interface) < 0) {
    return pcap_geterr(interface);
  }
  std::array<char, PCAP_ERRBUF_SIZE> error = {};
  return pcap_setnonblock(interface, 1, error.data()) == 0 ? filter(interface) : error.data();
}

}  // namespace

std::string TrapCapture::open(const std::string& path) {
  std::array<char, PCAP_ERRBUF_SIZE> error = {};
  interface_.reset(pcap_create(kInterface, error.data()));
  if (!interface_) {
    return std::string("cannot record traps: ") + error.data();
  }
  if (const std::string why = listen_at(interface_.get()); !why.empty()) {
    interface_.reset();
    return "cannot record traps: " + why;
  }
  return file_.open(path, LinkType::kIp);
}

void TrapCapture::add_descriptors(std::vector<pollfd>* descriptors) const {
  const int fd = interface_ ? pcap_get_selectable_fd(interface_.get()) : -1;
  descriptors->push_back({fd, POLLIN, 0});
}

std::string TrapCapture::pump() {
  pcap_pkthdr* header = nullptr;
  const u_char* frame = nullptr;
  std::string trouble;
  while (trouble.empty() && file_.is_open() &&
         pcap_next_ex(interface_.get(), &header, &frame) == 1) {
    if (header->caplen > ETHER_HDR_LEN) {
      const auto packet = std::span(frame, header->caplen).subspan(ETHER_HDR_LEN);
      trouble = file_.record({.tv_sec = header->ts.tv_sec, .tv_nsec = header->ts.tv_usec}, packet,
                             header->len - ETHER_HDR_LEN);
    }
  }
  pcap_stat seen = {};
  if (trouble.empty() && file_.is_open() && pcap_stats(interface_.get(), &seen) == 0 &&
      seen.ps_drop > missing_) {
    missing_ = seen.ps_drop;
    trouble = std::to_string(missing_) + " traps are missing from the recording";
  }
  return trouble;
}
