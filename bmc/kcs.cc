// SPDX-License-Identifier: Apache-2.0
#include "bmc/kcs.h"

#include <algorithm>
#include <array>

#include "bmc/channel.h"
#include "log/log.h"
#include "wire/chif.h"
#include "wire/kcs.h"

namespace {

using KcsPacket = std::array<uint8_t, kcs::kPacketSize>;

int g_message_id = 0;  // one count for all channels: an answer that strays is recognised

void advance_message_id() {
  g_message_id = g_message_id >= kcs::kMessageIdMax ? 1 : g_message_id + 1;
}

KcsPacket build_packet(const KcsRequest& request) {
  KcsPacket packet = {};
  chif::put_header(packet, static_cast<uint16_t>(request.request_length + kcs::request::kData),
                   static_cast<uint16_t>(g_message_id), chif::kCmdKcs, chif::kSvcKcs);
  put_u8(packet, kcs::kNetworkFunction,
         static_cast<uint8_t>(request.network_function << kcs::kNetworkFunctionShift));
  put_u8(packet, kcs::kCommand, request.command);
  std::copy_n(request.request_data, request.request_length, packet.begin() + kcs::request::kData);
  return packet;
}

// Sends the first length bytes of the packet and reads the response over it.
int exchange(int fd, KcsPacket& packet, size_t length, int& received) {
  const std::span<uint8_t> bytes(packet);
  const int result = getResponse(fd, kCmdKeepHeader, bytes.first(std::min(length, bytes.size())),
                                 bytes, &received);
  DebugLog("utils: OsKcsExecCmd_CHIF(): bRetVal from getResponse is [%d]\n", result);
  return result;
}

bool answers(const KcsPacket& packet, const KcsRequest& request) {
  const int seqno = get_u16(packet, chif::header::kSeqno);
  const int network_function = get_u8(packet, kcs::kNetworkFunction) >> kcs::kNetworkFunctionShift;
  const uint8_t command = get_u8(packet, kcs::kCommand);
  if (seqno == g_message_id && network_function == request.network_function + 1 &&
      command == request.command) {
    return true;
  }
  DebugLog("utils: OsKcsExecCmd_CHIF(): KCS CHIF: Expected Cmd (0x%x), Msg ID (0x%x)\n",
           request.command, static_cast<unsigned>(g_message_id));
  DebugLog("utils: OsKcsExecCmd_CHIF(): KCS CHIF: Received Cmd (0x%x), Msg ID (0x%x)\n", command,
           static_cast<unsigned>(seqno));
  return false;
}

}  // namespace

int OsKcsExecCmd_CHIF(int fd, const KcsRequest& request) {
  if (request.request_length > kcs::request::kDataMax) {
    DebugLog("utils: OsKcsExecCmd_CHIF(): request of %d bytes does not fit a KCS packet\n",
             request.request_length);
    return 1;
  }
  advance_message_id();
  KcsPacket packet = build_packet(request);
  int received = 0;
  if (exchange(fd, packet, request.request_length + kcs::request::kData, received) != 0) {
    // The failed read may have gone over the request: its length is taken from what
    // the buffer holds now, and so is the request.
    const int result = exchange(fd, packet, get_u16(packet, chif::header::kPktsize), received);
    if (result != 0) {
      return result;
    }
  }
  // Without a retry: the stranger's answer has been read in place of ours.
  if (!answers(packet, request)) {
    return 1;
  }
  *request.completion_code = get_u8(packet, kcs::response::kCompletionCode);
  const size_t length = std::min(static_cast<size_t>(received), kcs::kPacketSize);
  const size_t data_length = length > kcs::response::kData ? length - kcs::response::kData : 0;
  *request.response_length = static_cast<uint16_t>(data_length);
  if (data_length != 0) {
    // The caller's whole buffer, not the received length: the packet is zero there.
    const size_t copied = std::min<size_t>(request.response_size, kcs::response::kDataMax);
    std::copy_n(packet.begin() + kcs::response::kData, copied, request.response);
    std::fill(request.response + copied, request.response + request.response_size, uint8_t{0});
  }
  return 0;
}

int OsExecuteOEMNVRAMAccessCommand(int fd, std::span<const uint8_t> request,
                                   std::span<uint8_t> response) {
  constexpr size_t kLengthMax = UINT16_MAX;
  uint16_t response_length = 0;
  uint8_t completion_code = 0;
  const KcsRequest nvram_access = {
      .network_function = kcs::kOemNetworkFunction,
      .command = kcs::kOemNvramCommand,
      .request_data = request.data(),
      .request_length = static_cast<uint16_t>(std::min(request.size(), kLengthMax)),
      .response = response.data(),
      .response_size = static_cast<uint16_t>(std::min(response.size(), kLengthMax)),
      .response_length = &response_length,
      .completion_code = &completion_code,
  };
  int result = OsKcsExecCmd_CHIF(fd, nvram_access);
  if (result == 0 && completion_code == kcs::kCompletionOk) {
    DebugLog(
        "utils: OsExecuteOEMNVRAMAccessCommand:  OsKcsExecCmd_CHIF returned 0. "
        "ucCompletionCode[%d] = CCODE_OK!\n",
        completion_code);
  } else {
    result = 1;
  }
  DebugLog("utils: OsExecuteOEMNVRAMAccessCommand:  returns bRet [%d]\n", result);
  return result;
}
