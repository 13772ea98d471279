// SPDX-License-Identifier: Apache-2.0
// Notifications whose bindings state sizes that are not there, on both roads:
// what was decoded before the fault still becomes a trap, the log says what was
// dropped, and the next notification is relayed.
#include "tests/e2e/host.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

constexpr const char* kFirstTrap = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/3 @0";
constexpr const char* kNextTrap = "public 1.3.6.1.4.1.32473.1 192.0.2.20 6/98 @0";
constexpr const char* kNoTrap =
    "3 ortdv: tvurev: notification without a valid trap OID []: no trap sent";

// What a notification came to.
struct Outcome {
  Lines traps;
  Lines errors;

  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << testing::PrintToString(outcome.traps) << " " << testing::PrintToString(outcome.errors);
}

NotifyBuilder started() {
  return NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.3");
}

// A type of so many bytes does not fit as binding number index.
std::string passes_end(int index, int type, const std::string& size) {
  return "3 ortdv: send_trap_to_host(): vb[" + std::to_string(index) + "] type [" +
         std::to_string(type) + "] of " + size +
         " bytes passes the end of the notification. It and the rest are dropped.";
}

class BadNotification : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    start_relay();
    agent_ = connected_client();
  }

  // Sends it on both roads, which must come to the same.
  Outcome outcome_of(const Bytes& pdu) {
    const Outcome of_bmc = outcome_of([&](const Bytes& bytes) { push_notify(bytes); }, pdu);
    const Outcome of_agent =
        outcome_of([&](const Bytes& bytes) { ASSERT_TRUE(agent_.send(bytes)); }, pdu);
    EXPECT_EQ(of_bmc, of_agent);
    return of_bmc;
  }

 private:
  Outcome outcome_of(const std::function<void(const Bytes&)>& send, const Bytes& pdu) {
    const size_t lines_before = log().size();
    const size_t traps_before = receiver.count();
    send(pdu);
    // One receive is one packet, so the socket is given the next one only when
    // it is done with this one: after its trap, or the line that there is none.
    EXPECT_TRUE(run_until(
        [&] { return receiver.count() > traps_before || times_logged(kNoTrap) > refusals_; }));
    refusals_ = times_logged(kNoTrap);
    send(NotifyBuilder().trap_oid("1.3.6.1.4.1.32473.1.0.98").bytes());
    EXPECT_TRUE(run_until(
        [&] { return receiver.count() > traps_before && receiver.traps().back() == kNextTrap; }));
    Outcome outcome = {{receiver.traps().begin() + static_cast<std::ptrdiff_t>(traps_before),
                        receiver.traps().end() - 1},
                       log(lines_before)};
    // What an agent writes in one go is a matter of its road alone.
    std::erase_if(outcome.errors, [](const auto& line) {
      return !line.starts_with("3 ") || line.starts_with("3 ortdv: proxy_ortd_trap(): ");
    });
    return outcome;
  }

  LocalClient agent_;
  size_t refusals_ = 0;
};

TEST_F(BadNotification, PayloadLengthBeyondThePacket) {
  const Bytes pdu = started().payload_length(4294967295U).bytes();
  const Outcome outcome = outcome_of(pdu);
  EXPECT_THAT(outcome.traps, ElementsAre(kFirstTrap));
  ASSERT_FALSE(outcome.errors.empty());
  EXPECT_EQ(outcome.errors[0], "3 ortdv: send_trap_to_host(): " + std::to_string(pdu.size()) +
                                   " bytes are only the first piece of a notification that states "
                                   "4294967295 bytes of bindings. What is missing reads as zero.");
}

TEST_F(BadNotification, PayloadLengthBelowTheBindingsLeavesTheRestOut) {
  const Outcome outcome =
      outcome_of(started().integer("1.3.6.1.4.1.32473.2.1", 1).payload_length(1).bytes());
  EXPECT_THAT(outcome.traps, ElementsAre(kFirstTrap));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(BadNotification, NoBindings) {
  const Outcome outcome = outcome_of(NotifyBuilder().bytes());
  EXPECT_THAT(outcome.traps, IsEmpty());
  EXPECT_THAT(outcome.errors, ElementsAre(kNoTrap));
}

TEST_F(BadNotification, NoTrapOid) {
  const Outcome outcome =
      outcome_of(NotifyBuilder().uptime(1).integer("1.3.6.1.4.1.32473.2.1", 1).bytes());
  EXPECT_THAT(outcome.traps, IsEmpty());
  EXPECT_THAT(outcome.errors, ElementsAre(kNoTrap));
}

TEST_F(BadNotification, HeaderOnlyInPart) {
  const Bytes whole = started().bytes();
  const Outcome outcome = outcome_of(Bytes(whole.begin(), whole.begin() + 18));
  EXPECT_THAT(outcome.traps, IsEmpty());
}

TEST_F(BadNotification, NameLongerThanThePacket) {
  // 255 sub-identifiers are stated, the last of the packet.
  NotifyBuilder notify = started();
  notify.octets("1.3.6.1.4.1.32473.2.1", std::string(3400, 'x'));
  notify.name_claiming(2, 255, 4, std::vector<uint32_t>{1, 32473});
  const Outcome outcome = outcome_of(notify.bytes());
  ASSERT_EQ(outcome.traps.size(), 1U);
  EXPECT_TRUE(
      outcome.traps[0].starts_with(std::string(kFirstTrap) + " 1.3.6.1.4.1.32473.2.1=\"xxx"));
  ASSERT_FALSE(outcome.errors.empty());
  EXPECT_EQ(outcome.errors.back(), passes_end(3, 2, "1028"));
}

TEST_F(BadNotification, NameOf255ZerosIsNoNameAndLeftOut) {
  NotifyBuilder notify = started();
  notify.name_claiming(2, 255, 4, std::vector<uint32_t>(255, 7)).raw_u32(1);
  const Outcome outcome = outcome_of(notify.integer("1.3.6.1.4.1.32473.2.1", 1).bytes());
  ASSERT_EQ(outcome.traps.size(), 1U);
  EXPECT_TRUE(outcome.traps[0].ends_with(" 1.3.6.1.4.1.32473.2.1=1"));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(BadNotification, OctetLengthsThatCannotBe) {
  for (const int type : {4, 64, 68}) {
    for (const auto& [length, size] : std::vector<std::pair<uint32_t, std::string>>{
             {4294967295U, "4294967323"}, {2147483648U, "2147483676"}, {4096, "4124"}}) {
      NotifyBuilder notify = started();
      notify.integer("1.3.6.1.4.1.32473.2.1", 1);
      notify.string_claiming(static_cast<uint16_t>(type), "1.3.6.1.4.1.32473.2.2", length,
                             Bytes{1, 2, 3, 4});
      const Outcome outcome = outcome_of(notify.bytes());
      EXPECT_THAT(outcome.traps, ElementsAre(std::string(kFirstTrap) + " 1.3.6.1.4.1.32473.2.1=1"));
      EXPECT_THAT(outcome.errors, ElementsAre(passes_end(3, type, size)));
    }
  }
}

TEST_F(BadNotification, OidValueLongerThanThePacket) {
  NotifyBuilder notify = started();
  notify.octets("1.3.6.1.4.1.32473.2.1", std::string(3400, 'x'));
  notify.name(6, 4, std::vector<uint32_t>{1, 32473, 2, 2}).raw(Bytes{255, 4, 0, 0});
  const Outcome outcome = outcome_of(notify.bytes());
  EXPECT_EQ(outcome.traps.size(), 1U);
  ASSERT_FALSE(outcome.errors.empty());
  EXPECT_EQ(outcome.errors.back(), passes_end(3, 6, "1048"));
}

TEST_F(BadNotification, AddressesOfAnyLength) {
  NotifyBuilder notify = started();
  notify.ip_address("1.3.6.1.4.1.32473.2.1", Bytes{});
  notify.ip_address("1.3.6.1.4.1.32473.2.2", Bytes{10, 0, 0});
  notify.ip_address("1.3.6.1.4.1.32473.2.3", Bytes(40, 255));
  notify.ip_address("1.3.6.1.4.1.32473.2.4", Bytes{10, 0, 0, 5});
  const Outcome outcome = outcome_of(notify.bytes());
  EXPECT_THAT(outcome.traps,
              ElementsAre(std::string(kFirstTrap) + " 1.3.6.1.4.1.32473.2.2=ip:10.0.0.0"
                                                    " 1.3.6.1.4.1.32473.2.4=ip:10.0.0.5"));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(BadNotification, NothingButUnknownTypesEnds) {
  NotifyBuilder notify;
  for (int i = 0; i < 50; ++i) {
    notify.nothing(200, "1.3.6.1.4.1.32473.2.1");
  }
  const Outcome outcome = outcome_of(notify.bytes());
  EXPECT_THAT(outcome.traps, IsEmpty());
  EXPECT_THAT(outcome.errors,
              ElementsAre("3 ortdv: send_trap_to_host(): vb[1] has the unknown type [200] and no "
                          "length. It and the rest are dropped.",
                          kNoTrap));
}

TEST_F(BadNotification, UnknownTypeIsPassedByTheLengthOfTheOneBefore) {
  NotifyBuilder notify = started();
  notify.integer("1.3.6.1.4.1.32473.2.1", 1).word(77, "1.3.6.1.4.1.32473.2.2", 2);
  notify.integer("1.3.6.1.4.1.32473.2.3", 3);
  const Outcome outcome = outcome_of(notify.bytes());
  EXPECT_THAT(outcome.traps, ElementsAre(std::string(kFirstTrap) + " 1.3.6.1.4.1.32473.2.1=1"
                                                                   " 1.3.6.1.4.1.32473.2.3=3"));
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(BadNotification, TypesWithoutAValueAsTheFirstAreSkipped) {
  for (const int type : {5, 128, 129, 130}) {
    NotifyBuilder notify;
    notify.nothing(static_cast<uint16_t>(type), "1.3.6.1.4.1.32473.2.1");
    const Outcome outcome = outcome_of(notify.trap_oid("1.3.6.1.4.1.32473.1.0.3").bytes());
    EXPECT_THAT(outcome.traps, ElementsAre(kFirstTrap)) << type;
    EXPECT_THAT(outcome.errors, IsEmpty()) << type;
  }
}

TEST_F(BadNotification, SameBytesInNetworkOrderCannotBeRead) {
  // The flag for network byte order is not looked at; the lengths are absurd.
  Bytes pdu = started().flags(0x10).bytes();
  std::swap(pdu[16], pdu[19]);
  std::swap(pdu[17], pdu[18]);
  const Outcome outcome = outcome_of(pdu);
  ASSERT_FALSE(outcome.errors.empty());
  EXPECT_TRUE(outcome.errors[0].find("bytes of bindings. What is missing reads as zero.") !=
              std::string::npos);
}

}  // namespace
