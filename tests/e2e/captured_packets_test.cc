// SPDX-License-Identifier: Apache-2.0
// Notifications kept as files (tests/data/notifications): the bytes that real
// senders wrote, dissected by hand, with the trap that each must become.
// docs/testing.md tells how to add one.
#include <algorithm>
#include <filesystem>
#include <fstream>

#include "tests/e2e/host.h"

namespace {

constexpr const char* kFolder = "/run/lab/data/notifications";

struct CapturedNotification {
  Bytes pdu;
  std::string trap;
};

// "#" starts a comment; "trap: TEXT" is the expected trap; all else is the PDU
// in hexadecimal.
CapturedNotification load(const std::filesystem::path& path) {
  constexpr std::string_view kTrapWord = "trap: ";
  CapturedNotification captured;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(kTrapWord)) {
      captured.trap = line.substr(kTrapWord.size());
      continue;
    }
    const Bytes bytes = bytes_of(line.substr(0, line.find('#')));
    captured.pdu.insert(captured.pdu.end(), bytes.begin(), bytes.end());
  }
  return captured;
}

std::vector<std::filesystem::path> captures() {
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(kFolder)) {
    if (entry.path().extension() == ".hex") {
      paths.push_back(entry.path());
    }
  }
  std::ranges::sort(paths);
  return paths;
}

using CapturedPackets = Host;

TEST_F(CapturedPackets, BecomeTheTrapsThatTheirFilesName) {
  start_relay();
  LocalClient agent = connected_client();
  ASSERT_FALSE(captures().empty());
  size_t count = 0;
  for (const std::filesystem::path& path : captures()) {
    SCOPED_TRACE(path.filename().string());
    const CapturedNotification captured = load(path);
    push_notify(captured.pdu);
    ASSERT_TRUE(run_until_traps(++count));
    EXPECT_EQ(receiver.traps().back(), captured.trap) << "through the BMC's channel";
    ASSERT_TRUE(agent.send(captured.pdu));
    ASSERT_TRUE(run_until_traps(++count));
    EXPECT_EQ(receiver.traps().back(), captured.trap) << "through the local socket";
  }
}

}  // namespace
