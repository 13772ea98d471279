// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/simulator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <fstream>
#include <iterator>

#include "lab/sim/scenario.h"
#include "lab/supervisor/local_socket.h"
#include "tests/unit/lab/temporary_directory.h"
#include "wire/little_endian.h"

using testing::ElementsAre;

namespace {

const Bytes kHelloRequest = parse_hex("1000070093010d000100000000000000").value();
const Bytes kBye = parse_hex("1000000093010d000200000000000000").value();
const Bytes kStatusQuery = parse_hex("0800adde02000000").value();
const Bytes kGetRequest = parse_hex("150003000000 0100 d8020401004b5848564d3600").value();
const Bytes kSetRequest = parse_hex("160004000000 0100 d8020501004b5848564d3600 2a").value();

// A host of the test's own, without the shim.
class Host {
 public:
  explicit Host(const std::string& node) : fd_(connect_local(SOCK_SEQPACKET, node)) {}

  bool connected() const { return fd_.valid(); }
  void send(const Bytes& packet) const {
    ::send(fd_.get(), packet.data(), packet.size(), MSG_NOSIGNAL);
  }

  // The next packet if one is there; std::nullopt when the BMC hung up or sent
  // nothing.
  std::optional<Bytes> take() const {
    Bytes packet(5000);
    const ssize_t length = recv(fd_.get(), packet.data(), packet.size(), MSG_DONTWAIT);
    if (length < 0) {
      return std::nullopt;
    }
    packet.resize(static_cast<size_t>(length));
    return packet;
  }

  bool is_hung_up() const { return has_hung_up(fd_.get()); }

 private:
  Descriptor fd_;
};

class SimulatorTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(bmc_.open_channels(directory_.path(), 0, 2), ""); }

  std::string node(int number) const {
    return directory_ / ("zemox-d0ccb" + std::to_string(number));
  }

  void settle() {
    while (bmc_.step(0)) {
    }
  }

  std::string play(const std::string& event) {
    const ParsedEvent parsed = parse_event(event);
    return parsed.error.empty() ? bmc_.execute(*parsed.event) : parsed.error;
  }

  // Sends a request and gives back the answer.
  std::optional<Bytes> ask(const Host& host, const Bytes& request) {
    host.send(request);
    settle();
    return host.take();
  }

  TemporaryDirectory directory_;
  Simulator bmc_;
};

}  // namespace

TEST_F(SimulatorTest, AnswersTheSession) {
  const Host host(node(2));
  EXPECT_EQ(ask(host, kHelloRequest), parse_hex("1400070093810d00" + std::string(24, '0')));
  const auto bye = ask(host, kBye);
  ASSERT_TRUE(bye.has_value());
  EXPECT_EQ(bye->size(), 4084U);
  EXPECT_EQ(get_u32(*bye, 8), 0U);
  EXPECT_EQ(bmc_.received(PacketKind::kHello), 1);
  EXPECT_EQ(bmc_.received(PacketKind::kBye), 1);
  EXPECT_EQ(bmc_.received(PacketKind::kConnect), 0);
}

TEST_F(SimulatorTest, RecordsWhatHappensInOrder) {
  std::vector<std::string> seen;
  bmc_.on_happening = [&](const Happening& happening) { seen.push_back(describe(happening)); };
  {
    const Host host(node(2));
    host.send(kStatusQuery);
    settle();
  }
  settle();
  EXPECT_THAT(seen, ElementsAre("channel 2 opened", "channel 2 < status query",
                                "channel 2 > status reply, generation 6, firmware 2.10",
                                "channel 2 closed"));
  EXPECT_EQ(bmc_.history.size(), 4U);
}

TEST_F(SimulatorTest, HearsWhatWasSentBeforeAClose) {
  Host(node(2)).send(kHelloRequest);
  settle();
  EXPECT_EQ(bmc_.received(PacketKind::kHello), 1);
  EXPECT_EQ(bmc_.history.back().what, Happening::What::kClosed);
}

TEST_F(SimulatorTest, HearsTheLastOfAClientThatLeftSomethingUnread) {
  {
    const Host host(node(2));
    settle();
    ASSERT_EQ(play("log a"), "");
    host.send(kBye);
  }
  settle();
  EXPECT_EQ(bmc_.received(PacketKind::kBye), 1);
  EXPECT_EQ(bmc_.history.back().what, Happening::What::kClosed);
}

TEST_F(SimulatorTest, HangsUpOnASecondClientAndKeepsTheFirst) {
  const Host first(node(2));
  settle();
  const Host second(node(2));
  settle();
  EXPECT_TRUE(second.is_hung_up());
  EXPECT_TRUE(ask(first, kHelloRequest).has_value());
}

TEST_F(SimulatorTest, TakesTheNextClientAfterTheFirstLeft) {
  { const Host first(node(2)); }
  const Host second(node(2));
  EXPECT_TRUE(ask(second, kHelloRequest).has_value());
}

TEST_F(SimulatorTest, TheSessionIsWhereTheHelloCame) {
  EXPECT_EQ(bmc_.session_channel(), -1);
  const Host utility(node(2));
  settle();
  EXPECT_EQ(bmc_.session_channel(), 2);
  {
    const Host proxy(node(1));
    ask(proxy, kHelloRequest);
    EXPECT_EQ(bmc_.session_channel(), 1);
  }
  settle();
  EXPECT_EQ(bmc_.session_channel(), 2);
}

TEST_F(SimulatorTest, PushesWithARunningNumberUnlessOneIsGiven) {
  const Host host(node(2));
  ask(host, kHelloRequest);
  EXPECT_EQ(play("log a"), "");
  EXPECT_EQ(play("log b"), "");
  EXPECT_EQ(play("log c seqno=99"), "");
  EXPECT_EQ(get_u16(*host.take(), 2), 1);
  EXPECT_EQ(get_u16(*host.take(), 2), 2);
  EXPECT_EQ(get_u16(*host.take(), 2), 99);
}

TEST_F(SimulatorTest, CannotPushWithoutAClient) {
  EXPECT_EQ(play("log a"), "no client has a channel open to send this to");
  EXPECT_EQ(play("hangup"), "no client has a channel open to hang up on");
}

TEST_F(SimulatorTest, KeepsAFloodUntilTheHostReads) {
  const Host host(node(2));
  settle();
  constexpr int kMany = 1000;
  for (int i = 0; i < kMany; ++i) {
    ASSERT_EQ(play("log x"), "");
  }
  EXPECT_FALSE(bmc_.drained());
  for (int i = 0; i < kMany; ++i) {
    std::optional<Bytes> packet = host.take();
    while (!packet) {
      bmc_.step(0);
      packet = host.take();
    }
    ASSERT_EQ(get_u16(*packet, 2), i + 1);
  }
  EXPECT_TRUE(bmc_.drained());
}

TEST_F(SimulatorTest, ReplacedAnswersAreUsedAsOftenAsTold) {
  const Host host(node(2));
  EXPECT_EQ(play("answer hello errcode=5 times=1"), "");
  EXPECT_EQ(play("answer hello seqno=+3 more=1"), "");
  EXPECT_EQ(get_u32(*ask(host, kHelloRequest), 8), 5U);
  for (int i = 0; i < 2; ++i) {
    const auto reply = ask(host, kHelloRequest);
    EXPECT_EQ(get_u16(*reply, 2), 10);
    EXPECT_EQ(get_u16(*reply, 14), 1);
  }
  EXPECT_EQ(play("answer hello normal"), "");
  EXPECT_EQ(get_u16(*ask(host, kHelloRequest), 2), 7);
}

TEST_F(SimulatorTest, AReplacedAnswerIsForItsOwnKind) {
  const Host host(node(2));
  play("answer any errcode=9");
  play("answer bye size=16");
  EXPECT_EQ(ask(host, kBye)->size(), 16U);
  EXPECT_EQ(get_u32(*ask(host, kHelloRequest), 8), 9U);
  play("answer any normal");
  EXPECT_EQ(ask(host, kBye)->size(), 4084U);
}

TEST_F(SimulatorTest, SilenceIsNoAnswerToTheSession) {
  const Host host(node(2));
  play("answer hello silent");
  EXPECT_EQ(ask(host, kHelloRequest), std::nullopt);
}

TEST_F(SimulatorTest, SilenceIsTenEmptyReadsToAQuery) {
  const Host host(node(2));
  play("answer status silent times=1");
  host.send(kStatusQuery);
  settle();
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(host.take(), Bytes{});
  }
  EXPECT_EQ(host.take(), std::nullopt);
  EXPECT_EQ(ask(host, kStatusQuery)->size(), 100U);
}

TEST_F(SimulatorTest, AnAnswerCanBeAnyBytes) {
  const Host host(node(2));
  play("answer nvram-get raw=0102 times=1");
  EXPECT_EQ(ask(host, kGetRequest), (Bytes{1, 2}));
  play("answer nvram-get completion=0xc9 status=7 length=300 times=1");
  const auto reply = ask(host, kGetRequest);
  EXPECT_EQ(reply->at(10), 0xC9);
  EXPECT_EQ(reply->at(12), 7);
  EXPECT_EQ(get_u16(*reply, 13), 300);
}

TEST_F(SimulatorTest, VariablesAreSetAndKeptInTheirFile) {
  bmc_.nvram_path = directory_ / "nvram";
  const Host host(node(2));
  ask(host, kSetRequest);
  EXPECT_THAT(bmc_.variables.at("KXHVM6"), ElementsAre(0x2A));
  play("nvram OTHER=0102");
  std::ifstream file(bmc_.nvram_path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "KXHVM6=2a\nOTHER=0102\n");
  EXPECT_EQ(ask(host, kGetRequest)->at(15), 0x2A);
  play("nvram KXHVM6 absent");
  EXPECT_EQ(ask(host, kGetRequest)->at(12), 0x88);
}

TEST_F(SimulatorTest, UnknownKcsCommandsAreInvalid) {
  const Host host(node(2));
  const auto reply = ask(host, parse_hex("0a00050000000100 1801").value());
  EXPECT_EQ(reply, parse_hex("0b00050000800100 1c01c1"));
}

TEST_F(SimulatorTest, IdentityIsChangedAsFarAsGiven) {
  const Host host(node(2));
  EXPECT_EQ(play("bmc generation=7 firmware=1.20"), "");
  EXPECT_EQ(play("bmc date=2000-12-31"), "");
  const auto reply = ask(host, kStatusQuery);
  EXPECT_EQ(reply->at(71), 7);
  EXPECT_EQ(get_u16(*reply, 16), 0x0114);
  EXPECT_EQ(get_u32(*reply, 18), pack_date(2000, 12, 31));
}

TEST_F(SimulatorTest, ClosingRemovesTheNodesAndHangsUp) {
  const Host host(node(2));
  settle();
  bmc_.close_channels();
  EXPECT_TRUE(host.is_hung_up());
  EXPECT_TRUE(std::filesystem::is_empty(directory_.path()));
  EXPECT_FALSE(Host(node(2)).connected());
}

TEST(Simulator, SaysWhyItCannotServe) {
  Simulator bmc;
  EXPECT_EQ(bmc.open_channels("/nonexistent"),
            "/nonexistent/zemox-d0ccb0: cannot serve the channel: No such file or directory");
  EXPECT_TRUE(bmc.descriptors().empty());
}
