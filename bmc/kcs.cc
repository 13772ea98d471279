#include "bmc/kcs.h"

#include <algorithm>
#include <array>

#include "bmc/channel.h"
#include "bmc/chif.h"
#include "log/log.h"

namespace {

using KcsPacket = std::array<uint8_t, kKcsPacketSize>;

constexpr int kMessageIdMax = 64;
constexpr size_t kNetworkFunction = 8;
constexpr size_t kCommand = 9;
constexpr size_t kCompletionCode = 10;
constexpr uint8_t kOemNetworkFunction = 0x36;
constexpr uint8_t kOemNvramCommand = 0x02;

int g_message_id = 0;

void advance_message_id() {
  g_message_id = g_message_id >= kMessageIdMax ? 1 : g_message_id + 1;
}

KcsPacket build_packet(const KcsRequest& request) {
  KcsPacket packet = {};
  put_chif_header(packet, static_cast<uint16_t>(request.request_length + kKcsRequestData),
                  static_cast<uint16_t>(g_message_id), kCmdKcs, kSvcKcs);
  put_u8(packet, kNetworkFunction, static_cast<uint8_t>(request.network_function << 2));
  put_u8(packet, kCommand, request.command);
  std::copy_n(request.request_data, request.request_length, packet.begin() + kKcsRequestData);
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
  const int seqno = get_u16(packet, kChifSeqno);
  const int network_function = get_u8(packet, kNetworkFunction) >> 2;
  const uint8_t command = get_u8(packet, kCommand);
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
  if (request.request_length > kKcsRequestMax) {
    DebugLog("utils: OsKcsExecCmd_CHIF(): request of %d bytes does not fit a KCS packet\n",
             request.request_length);
    return 1;
  }
  advance_message_id();
  KcsPacket packet = build_packet(request);
  int received = 0;
  if (exchange(fd, packet, request.request_length + kKcsRequestData, received) != 0) {
    const int result = exchange(fd, packet, get_u16(packet, kChifPktsize), received);
    if (result != 0) {
      return result;
    }
  }
  if (!answers(packet, request)) {
    return 1;
  }
  *request.completion_code = get_u8(packet, kCompletionCode);
  const size_t length = std::min(static_cast<size_t>(received), kKcsPacketSize);
  const size_t data_length = length > kKcsResponseData ? length - kKcsResponseData : 0;
  *request.response_length = static_cast<uint16_t>(data_length);
  if (data_length != 0) {
    const size_t copied = std::min<size_t>(request.response_size, kKcsResponseMax);
    std::copy_n(packet.begin() + kKcsResponseData, copied, request.response);
    std::fill(request.response + copied, request.response + request.response_size, uint8_t{0});
  }
  return 0;
}

int OsExecuteOEMNVRAMAccessCommand(int fd, std::span<const uint8_t> request,
                                   std::span<uint8_t> response) {
  constexpr size_t kLengthMax = UINT16_MAX;
  uint16_t response_length = 0;
  uint8_t completion_code = 0;
  const KcsRequest kcs = {
      .network_function = kOemNetworkFunction,
      .command = kOemNvramCommand,
      .request_data = request.data(),
      .request_length = static_cast<uint16_t>(std::min(request.size(), kLengthMax)),
      .response = response.data(),
      .response_size = static_cast<uint16_t>(std::min(response.size(), kLengthMax)),
      .response_length = &response_length,
      .completion_code = &completion_code,
  };
  int result = OsKcsExecCmd_CHIF(fd, kcs);
  if (result == 0 && completion_code == 0) {
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
