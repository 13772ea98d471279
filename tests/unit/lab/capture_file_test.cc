// SPDX-License-Identifier: Apache-2.0
#include "lab/capture/capture_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <fstream>
#include <iterator>

#include "lab/capture/record_header.h"
#include "tests/support/packets.h"
#include "tests/unit/lab/temporary_directory.h"

namespace {

constexpr timespec kWhen = {.tv_sec = 0x12345678, .tv_nsec = 999'999'999};

Bytes contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// What a file begins with: nanoseconds, version 2.4, packets of up to 65535 bytes.
std::string beginning(const std::string& link_type) {
  return "4d 3c b2 a1 02 00 04 00 00 00 00 00 00 00 00 00 ff ff 00 00 " + link_type + " 00 00 00";
}

class CaptureFileTest : public testing::Test {
 protected:
  std::string written() const { return hex_of(contents(path_)); }

  TemporaryDirectory directory_;
  std::string path_ = directory_ / "packets.pcap";
  CaptureFile file_;
};

TEST_F(CaptureFileTest, BeginsWithItsLinkType) {
  ASSERT_EQ(file_.open(path_, LinkType::kChannel), "");
  EXPECT_EQ(written(), beginning("93"));
  ASSERT_EQ(file_.open(path_, LinkType::kAgent), "");
  EXPECT_EQ(written(), beginning("94"));
  ASSERT_EQ(file_.open(path_, LinkType::kIp), "");
  EXPECT_EQ(written(), beginning("65"));
}

TEST_F(CaptureFileTest, HoldsARecordAsSoonAsItIsMade) {
  ASSERT_EQ(file_.open(path_, LinkType::kIp), "");
  ASSERT_EQ(file_.record(kWhen, bytes_of("45 00 01"), 9), "");
  EXPECT_EQ(written(),
            beginning("65") + " 78 56 34 12 ff c9 9a 3b 03 00 00 00 09 00 00 00 45 00 01");
}

TEST_F(CaptureFileTest, PutsDirectionAndChannelBeforeAPacket) {
  ASSERT_EQ(file_.open(path_, LinkType::kChannel), "");
  ASSERT_EQ(file_.record(record_header::kRead, 0x01020304, bytes_of("aa bb")), "");
  constexpr size_t kLengthsAt = 24 + 8;  // behind the file's header and the time
  const Bytes bytes = contents(path_);
  ASSERT_GT(bytes.size(), kLengthsAt);
  EXPECT_EQ(hex_of(std::span(bytes).subspan(kLengthsAt)),
            "0a 00 00 00 0a 00 00 00 01 01 00 00 04 03 02 01 aa bb");
}

TEST_F(CaptureFileTest, TakesThePlaceOfAnOlderFile) {
  ASSERT_EQ(file_.open(path_, LinkType::kIp), "");
  ASSERT_EQ(file_.record(kWhen, bytes_of("45"), 1), "");
  CaptureFile newer;
  ASSERT_EQ(newer.open(path_, LinkType::kIp), "");
  EXPECT_EQ(written(), beginning("65"));
}

TEST_F(CaptureFileTest, DoesNothingUntilItIsOpen) {
  EXPECT_EQ(file_.record(kWhen, bytes_of("45"), 1), "");
  EXPECT_FALSE(file_.is_open());
}

TEST_F(CaptureFileTest, SaysWhyItCannotBeOpened) {
  const std::string path = directory_ / "none/packets.pcap";
  EXPECT_EQ(file_.open(path, LinkType::kIp), path + ": cannot write: No such file or directory");
  EXPECT_FALSE(file_.is_open());
}

TEST_F(CaptureFileTest, IsNotOpenOnAFullDisk) {
  EXPECT_EQ(file_.open("/dev/full", LinkType::kIp),
            "/dev/full: cannot write: No space left on device");
  EXPECT_FALSE(file_.is_open());
}

// No file can grow beyond this.
class NoRoomLeft {
 public:
  explicit NoRoomLeft(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {.rlim_cur = bytes, .rlim_max = before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~NoRoomLeft() { setrlimit(RLIMIT_FSIZE, &before_); }
  NoRoomLeft(const NoRoomLeft&) = delete;
  NoRoomLeft& operator=(const NoRoomLeft&) = delete;

 private:
  rlimit before_ = {};
};

TEST_F(CaptureFileTest, EndsAndSaysSoOnceWhenARecordCannotBeWritten) {
  ASSERT_EQ(file_.open(path_, LinkType::kIp), "");
  const NoRoomLeft no_room(contents(path_).size());
  EXPECT_EQ(file_.record(kWhen, bytes_of("45"), 1),
            path_ + ": cannot write, the recording ends: File too large");
  EXPECT_FALSE(file_.is_open());
  EXPECT_EQ(file_.record(kWhen, bytes_of("45"), 1), "");
}

}  // namespace
