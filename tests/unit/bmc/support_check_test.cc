// SPDX-License-Identifier: Apache-2.0
// Is the BMC of the supported generation? The cached answer, and the query.
#include "ortinv/support_check.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "log/debug_flags.h"
#include "tests/unit/bmc/bmc_script.h"

namespace {

constexpr const char* kStatusFile = "/opt/ortdv/tmp/moxstatus";

const Lines kSearching = {"6 utils: check if system is supported...\n",
                          "6 utils: Looking for file [/opt/ortdv/tmp/moxstatus]...\n"};

Lines operator+(Lines lines, const Lines& more) {
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

class SupportCheck : public BmcTest {
 protected:
  static Bytes status_response(int generation, uint16_t version = 0, uint32_t date = 0) {
    return ChifBuilder(0x8002)
        .seqno(0xDEAD)
        .u16_at(16, version)
        .u32_at(18, date)
        .u8_at(71, static_cast<uint8_t>(generation))
        .sized(100)
        .bytes();
  }

  void expect_query(const Bytes& response) {
    expect_open(kFd);
    expect_exchange(kFd, bytes_of("08 00 ad de 02 00 00 00"), response);
    script.close(kFd);
  }

  void expect_file(std::string_view content) {
    script.file(kStatusFile);
    script.fopen(kStatusFile, "re").prints(content);
  }

  // Without the lines of the exchange itself.
  Lines own_logs() const {
    Lines lines;
    for (const std::string& line : script.logs()) {
      if (line.find("getResponse() write") == std::string::npos &&
          line.find("getResponse() read") == std::string::npos &&
          line.find("readMPr()") == std::string::npos) {
        lines.push_back(line);
      }
    }
    return lines;
  }
};

// The status file.

TEST_F(SupportCheck, BelievesAFileThatSaysMox6) {
  expect_file("Mox6\r\n");
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(own_logs(),
            kSearching + Lines({"6 utils: Found file\n", "6 utils: Read from file Mox status [6]\n",
                                "6 utils: Detected Mox6. System IS supported...\n"}));
}

TEST_F(SupportCheck, BelievesAFileThatSaysMox5WithoutAskingTheBmc) {
  expect_file("Mox5\r\n");
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(own_logs(), kSearching + Lines({"6 utils: Found file\n",
                                            "6 utils: Read from file Mox status [5]\n"}));
}

struct StatusLine {
  const char* name;
  const char* content;
  int generation;
};

class StatusFile : public SupportCheck, public testing::WithParamInterface<StatusLine> {};

TEST_P(StatusFile, CountsByItsFirstLine) {
  expect_file(GetParam().content);
  EXPECT_EQ(SystemSupported(), GetParam().generation == 6 ? 1 : 0);
  EXPECT_EQ(logs_with("Read from file"), Lines({"6 utils: Read from file Mox status [" +
                                                std::to_string(GetParam().generation) + "]\n"}));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, StatusFile,
    testing::Values(StatusLine{"NoLineEnd", "Mox6", 6}, StatusLine{"Sixty", "Mox60\r\n", 60},
                    StatusLine{"Negative", "Mox-6\r\n", -6}, StatusLine{"TextAfter", "Mox6x\n", 6},
                    StatusLine{"OtherWord", "mox6\r\n", 0}, StatusLine{"NoNumber", "Mox\r\n", 0},
                    StatusLine{"EmptyFirstLine", "\nMox6\r\n", 0},
                    StatusLine{"Garbage", "\x01\xff%n%s\x7f", 0}),
    [](const auto& line) { return line.param.name; });

TEST_F(SupportCheck, TakesAnEmptyFileForUnsupported) {
  expect_file("");
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(own_logs(), kSearching + Lines({"6 utils: Found file\n"}));
}

TEST_F(SupportCheck, ReadsNoMoreThan127CharactersOfTheLine) {
  expect_file("Mox" + std::string(123, '0') + "65\r\n");
  EXPECT_EQ(SystemSupported(), 1);
}

TEST_F(SupportCheck, AsksTheBmcWhenTheFileCannotBeOpened) {
  script.file(kStatusFile);
  script.fopen(kStatusFile, "re").fails(EACCES);
  expect_query(status_response(7));
  script.fopen(kStatusFile, "we").fails(EACCES);
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(
      logs_with("file"),
      Lines({"6 utils: Looking for file [/opt/ortdv/tmp/moxstatus]...\n", "6 utils: Found file\n",
             "6 utils: Failed to open file [/opt/ortdv/tmp/moxstatus]. Will pull info "
             "directly from mox...\n"}));
}

// The query.

TEST_F(SupportCheck, AsksTheBmcWithoutAFileAndKeepsTheAnswer) {
  expect_query(status_response(6, 0x0211, 0x8D2E0000));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(script.written_to(kStatusFile), "Mox6\r\n");
  EXPECT_EQ(own_logs(),
            kSearching + Lines({"6 utils: File not Found.  Pulling info from Mox...\n",
                                "6 utils: get moxStatus Success.  moxStatus.application is [6]\n",
                                "6 Generating file [/opt/ortdv/tmp/moxstatus]...\n",
                                "6 utils: Detected Mox6. System IS supported...\n",
                                "6 Mox6: 2.17 (2025/4/23)\n",
                                "6 utils: returning system supported flag = [1].\n"}));
}

TEST_F(SupportCheck, IgnoresAFileOfAnotherUserAndRewritesIt) {
  script.file(kStatusFile, 1000);
  expect_query(status_response(6));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(script.written_to(kStatusFile), "Mox6\r\n");
  EXPECT_EQ(logs_with("Pulling"), Lines({"6 utils: File not Found.  Pulling info from Mox...\n"}));
}

struct Generation {
  int application;
  const char* line;
};

class OtherGeneration : public SupportCheck, public testing::WithParamInterface<Generation> {};

TEST_P(OtherGeneration, IsWrittenToTheFileAndNotSupported) {
  expect_query(status_response(GetParam().application, 0x0211, 0x8D2E0000));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 0);
  const std::string line = GetParam().line;
  EXPECT_EQ(script.written_to(kStatusFile), line + "\r\n");
  EXPECT_EQ(own_logs(),
            kSearching + Lines({"6 utils: File not Found.  Pulling info from Mox...\n",
                                "6 utils: get moxStatus Success.  moxStatus.application is [" +
                                    line.substr(3) + "]\n",
                                "6 Generating file [/opt/ortdv/tmp/moxstatus]...\n",
                                "6 utils: System is NOT supported...\n",
                                "6 utils: returning system supported flag = [0].\n"}));
}

INSTANTIATE_TEST_SUITE_P(Generations, OtherGeneration,
                         testing::Values(Generation{7, "Mox7"}, Generation{5, "Mox5"},
                                         Generation{0, "Mox0"}, Generation{0x80, "Mox-128"},
                                         Generation{0xFF, "Mox-1"}, Generation{127, "Mox127"}));

TEST_F(SupportCheck, AnswersAllTheSameWhenTheFileCannotBeWritten) {
  expect_query(status_response(6));
  script.fopen(kStatusFile, "we").fails(ENOENT);
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(logs_with("Generating"), Lines());
}

TEST_F(SupportCheck, PrintsTheLargestVersionAndDate) {
  expect_query(status_response(6, 0xFFFF, 0xFFFFFFFF));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(logs_with("Mox6: "), Lines({"6 Mox6: 255.255 (2053/15/31)\n"}));
}

TEST_F(SupportCheck, ReadsAsZeroWhatAShortResponseDoesNotHold) {
  expect_query(bytes_of("08 00 ad de 02 80 00 00"));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(script.written_to(kStatusFile), "Mox0\r\n");
}

TEST_F(SupportCheck, KeepsGeneration0OfASilentBmcInTheFile) {
  expect_open(kFd);
  script.write(kFd, bytes_of("08 00 ad de 02 00 00 00"));
  script.usleep(10'000);
  for (int attempt = 0; attempt < 10; ++attempt) {
    script.ioctl(kFd);
    script.usleep(10'000);
  }
  script.close(kFd);
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(script.written_to(kStatusFile), "Mox0\r\n");
}

TEST_F(SupportCheck, ReadsAResponseLongerThanItAskedFor) {
  Bytes response = status_response(6);
  response.resize(4096, 0xFF);
  expect_query(response);
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 1);
}

TEST_F(SupportCheck, AnswersNoWithoutAFreeChannelAndLeavesTheFile) {
  expect_no_channel();
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(own_logs(), kSearching + Lines({"6 utils: File not Found.  Pulling info from Mox...\n",
                                            "6 mox_chrdev: Failed: no available Qel Mox channels\n",
                                            "6 get moxStatus Failed: openMP() failed.\n"}));
}

TEST_F(SupportCheck, AnswersNoWhenTheExchangeFailsAndLeavesTheFile) {
  expect_open(kFd);
  expect_failed_write(kFd, bytes_of("08 00 ad de 02 00 00 00"), EIO);
  script.close(kFd);
  EXPECT_EQ(SystemSupported(), 0);
  EXPECT_EQ(own_logs(),
            kSearching + Lines({"6 utils: File not Found.  Pulling info from Mox...\n",
                                "6 mox write failed, cmd [0x2] errno [0x5] [Input/output error]\n",
                                "6  getResponse() for moxStatus Failed!\n",
                                "6 utils: returning system supported flag = [0].\n"}));
}

TEST_F(SupportCheck, WritesOnlyTheFirmwareLineWithoutTheDebugFlag) {
  g_utilities_debug_flag = 0;
  expect_query(status_response(6, 0x0100, 0x8D2E0000));
  script.fopen(kStatusFile, "we");
  EXPECT_EQ(SystemSupported(), 1);
  EXPECT_EQ(script.logs(), Lines({"6 Mox6: 1.0 (2025/4/23)\n"}));
}

}  // namespace
