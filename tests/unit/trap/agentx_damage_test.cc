// SPDX-License-Identifier: Apache-2.0
// The AgentX decoder on notifications that lie: it stays inside its buffer, it
// ends, and it says what it dropped.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/call_script.h"
#include "tests/support/packets.h"
#include "tests/unit/trap/notification_text.h"
#include "trap/agentx.h"
#include "wire/agentx.h"

namespace {

constexpr size_t kMax = agentx::kNotificationMax;

class Damage : public testing::Test {
 protected:
  Lines bindings_of(const NotifyBuilder& notify) {
    return bindings_text(decode_notification(notify.bytes()));
  }

  // Failures that were reported.
  size_t failures() const {
    EXPECT_TRUE(std::all_of(script.logs().begin(), script.logs().end(), [](const auto& line) {
      return line.rfind("3 send_trap_to_host(): ", 0) == 0 && line.back() == '\n';
    }));
    return script.logs().size();
  }

  CallScript script;
};

// One good binding that must survive what follows it.
NotifyBuilder good_start() {
  return NotifyBuilder().integer("1.3.6.1.4.1", 1);
}
const Lines kGoodStart = {"1.3.6.1.4.1 INTEGER 1"};

class CutHeader : public Damage, public testing::WithParamInterface<size_t> {};

TEST_P(CutHeader, HoldsNoBindings) {
  const Bytes whole = NotifyBuilder().integer("1.3.6.1.4.1", 1).bytes();
  const Notification notification =
      decode_notification({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(GetParam())});
  EXPECT_TRUE(notification.vbs.empty());
  EXPECT_STREQ(notification.trapOid.data(), "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, CutHeader, testing::Values(0, 1, 2, 4, 15, 16));

// Lengths of the payload.

TEST_F(Damage, BindingsBehindThePayloadAreNotRead) {
  EXPECT_EQ(bindings_of(good_start().integer("1.3.6.1.4.2", 2).payload_length(16)), kGoodStart);
  EXPECT_EQ(failures(), 0U);
}

TEST_F(Damage, PayloadOf0HoldsNoBindings) {
  EXPECT_EQ(bindings_of(good_start().payload_length(0)), Lines());
  EXPECT_EQ(failures(), 0U);
}

TEST_F(Damage, BindingThatBeginsInsideThePayloadIsRead) {
  EXPECT_EQ(bindings_of(good_start().integer("1.3.6.1.4.2", 2).payload_length(17)),
            Lines({"1.3.6.1.4.1 INTEGER 1", "1.3.6.1.4.2 INTEGER 2"}));
  EXPECT_EQ(failures(), 0U);
}

class LongPayload : public Damage, public testing::WithParamInterface<uint32_t> {};

TEST_P(LongPayload, MeetsZerosBehindThePacket) {
  EXPECT_EQ(bindings_of(good_start().payload_length(GetParam())), kGoodStart);
  EXPECT_GE(failures(), 1U);
  EXPECT_NE(
      script.logs()[0].find("36 bytes are only the first piece of a notification that states " +
                            std::to_string(GetParam()) + " bytes"),
      std::string::npos)
      << script.logs()[0];
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongPayload,
                         testing::Values(17, 32, 4076, 4077, 4096, 65536, 0x7FFFFFFF, 0x80000000,
                                         0xFFFFFFFF));

TEST_F(Damage, ReadsAPacketUpToItsLastByte) {
  // 20 bytes of header, 16 of the first binding, 16 before the octets.
  const std::string text(kMax - 52, 'x');
  const NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", text);
  ASSERT_EQ(notify.bytes().size(), kMax);
  EXPECT_EQ(bindings_of(notify), Lines({"1.3.6.1.4.1 INTEGER 1", "1.3.6.1.4.2 OCTETS " + text}));
  EXPECT_EQ(failures(), 0U);
}

TEST_F(Damage, ReadsNoFurtherThan4096Bytes) {
  const NotifyBuilder notify =
      good_start().octets("1.3.6.1.4.2", std::string(kMax - 52 + 1, 'x')).integer("1.3.6.1.4.3", 3);
  EXPECT_EQ(bindings_of(notify), kGoodStart);
  EXPECT_EQ(failures(), 1U);
}

TEST_F(Damage, ReadsNoBindingBeyond4096Bytes) {
  const std::string text(kMax - 52, 'x');
  const NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", text).integer("1.3.6.1.4.3", 3);
  EXPECT_EQ(bindings_of(notify).size(), 2U);
  EXPECT_EQ(failures(), 1U);
}

// Lengths of octets.

struct ClaimedLength {
  uint16_t type;
  uint32_t length;
};

class LongOctets : public Damage, public testing::WithParamInterface<ClaimedLength> {};

TEST_P(LongOctets, EndTheWalkWithoutBeingAllocated) {
  EXPECT_EQ(bindings_of(good_start()
                            .string_claiming(GetParam().type, "1.3.6.1.4.2", GetParam().length,
                                             text_bytes("abcd"))
                            .integer("1.3.6.1.4.3", 3)),
            kGoodStart);
  EXPECT_EQ(failures(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongOctets,
                         testing::Values(ClaimedLength{4, 4045}, ClaimedLength{4, 4096},
                                         ClaimedLength{4, 0x7FFFFFFF}, ClaimedLength{4, 0x80000000},
                                         ClaimedLength{4, 0xFFFFFFFC}, ClaimedLength{4, 0xFFFFFFFD},
                                         ClaimedLength{4, 0xFFFFFFFF}, ClaimedLength{64, 4045},
                                         ClaimedLength{64, 0x33333334},
                                         ClaimedLength{64, 0xFFFFFFFF}, ClaimedLength{68, 4045},
                                         ClaimedLength{68, 0xFFFFFFFF}));

TEST_F(Damage, OctetsThatReachBehindThePacketEndInZeros) {
  EXPECT_EQ(bindings_of(good_start().string_claiming(4, "1.3.6.1.4.2", 4044, text_bytes("abcd"))),
            Lines({"1.3.6.1.4.1 INTEGER 1", "1.3.6.1.4.2 OCTETS abcd"}));
  EXPECT_EQ(failures(), 0U);
}

TEST_F(Damage, OctetsThatClaimLessAreReadAsTheyClaim) {
  EXPECT_EQ(bindings_of(NotifyBuilder()
                            .string_claiming(4, "1.3.6.1.4.1", 2, text_bytes("abcd"))
                            .integer("1.3.6.1.4.3", 3)),
            Lines({"1.3.6.1.4.1 OCTETS ab", "1.3.6.1.4.3 INTEGER 3"}));
}

// Lengths of names.

TEST_F(Damage, NameOf255SubIdentifiersIsCut) {
  const std::vector<uint32_t> sub_ids(255, 7);
  const Notification notification = decode_notification(
      NotifyBuilder().name(2, 4, sub_ids).raw_u32(5).integer("1.3.6.1.4.2", 2).bytes());
  ASSERT_EQ(notification.vbs.size(), 2U);
  std::string name = "1.3.6.1.4";
  while (name.size() < 255) {
    name += ".7";
  }
  EXPECT_EQ(binding_text(notification.vbs[0]), name + " INTEGER 5");
  EXPECT_EQ(binding_text(notification.vbs[1]), "1.3.6.1.4.2 INTEGER 2");
}

TEST_F(Damage, ValueOf255SubIdentifiersIsCut) {
  NotifyBuilder notify;
  notify.name(6, 4, std::vector<uint32_t>{1}).raw(bytes_of("ff 04 00 00"));
  for (int i = 0; i < 255; ++i) {
    notify.raw_u32(7);
  }
  notify.integer("1.3.6.1.4.2", 2);
  const Lines bindings = bindings_of(notify);
  ASSERT_EQ(bindings.size(), 2U);
  EXPECT_EQ(bindings[0].size(), std::string("1.3.6.1.4.1 OID ").size() + 255);
  EXPECT_EQ(bindings[1], "1.3.6.1.4.2 INTEGER 2");
}

TEST_F(Damage, NameThatReachesBehindTheBufferEndsTheWalk) {
  NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", std::string(3500, 'x'));
  notify.name_claiming(2, 255, 4, {}).raw_u32(5);
  EXPECT_EQ(bindings_of(notify).size(), 2U);
  EXPECT_EQ(failures(), 1U);
}

TEST_F(Damage, ValueThatReachesBehindTheBufferEndsTheWalk) {
  NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", std::string(3500, 'x'));
  notify.name(6, 4, std::vector<uint32_t>{1}).raw(bytes_of("ff 04 00 00"));
  EXPECT_EQ(bindings_of(notify).size(), 2U);
  EXPECT_EQ(failures(), 1U);
}

TEST_F(Damage, WordAtTheVeryEndOfTheBuffer) {
  // A binding of 12 bytes, without sub-identifiers, that ends with the buffer.
  NotifyBuilder exact = good_start().octets("1.3.6.1.4.2", std::string(kMax - 52 - 12, 'x'));
  exact.name(2, 4, {}).raw_u32(5);
  ASSERT_EQ(exact.bytes().size(), kMax);
  EXPECT_EQ(bindings_of(exact).back(), "1.3.6.1.4 INTEGER 5");
  EXPECT_EQ(failures(), 0U);
  NotifyBuilder over = good_start().octets("1.3.6.1.4.2", std::string(kMax - 52 - 8, 'x'));
  over.name(2, 4, {}).raw_u32(5);
  EXPECT_EQ(bindings_of(over).size(), 2U);
  EXPECT_EQ(failures(), 1U);
}

TEST_F(Damage, LengthFieldBehindTheBufferEndsTheWalk) {
  for (const uint16_t type : {uint16_t{4}, uint16_t{6}, uint16_t{64}, uint16_t{68}}) {
    NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", std::string(kMax - 52 - 8, 'x'));
    notify.name(type, 4, {}).raw_u32(0);
    EXPECT_EQ(bindings_of(notify).size(), 2U);
  }
  EXPECT_EQ(failures(), 4U);
}

TEST_F(Damage, Counter64BehindTheBufferEndsTheWalk) {
  NotifyBuilder notify = good_start().octets("1.3.6.1.4.2", std::string(kMax - 52 - 12, 'x'));
  notify.name(70, 4, {}).raw_u32(0).raw_u32(0).integer("1.3.6.1.4.3", 3);
  EXPECT_EQ(bindings_of(notify).size(), 2U);
  EXPECT_EQ(failures(), 1U);
}

// Types.

class UnknownType : public Damage, public testing::WithParamInterface<uint16_t> {};

TEST_P(UnknownType, AsTheFirstEndsTheWalk) {
  EXPECT_EQ(
      bindings_of(NotifyBuilder().nothing(GetParam(), "1.3.6.1.4.1").integer("1.3.6.1.4.2", 2)),
      Lines());
  EXPECT_EQ(failures(), 1U);
  EXPECT_NE(script.logs()[0].find("[" + std::to_string(GetParam()) + "]"), std::string::npos)
      << script.logs()[0];
}

TEST_P(UnknownType, AloneAndManyTimesEndsTheWalk) {
  NotifyBuilder notify;
  for (int i = 0; i < 100; ++i) {
    notify.nothing(GetParam(), "1.3.6.1.4.1");
  }
  EXPECT_EQ(bindings_of(notify.payload_length(0xFFFFFFFF)), Lines());
}

INSTANTIATE_TEST_SUITE_P(Types, UnknownType,
                         testing::Values(0, 1, 3, 7, 63, 69, 71, 127, 131, 258, 0xFFFF));

TEST_F(Damage, UnknownTypesAfterAGoodBindingAdvanceToTheEnd) {
  NotifyBuilder notify = good_start();
  for (int i = 0; i < 50; ++i) {
    notify.word(99, "1.3.6.1.4.1", 1);
  }
  EXPECT_EQ(bindings_of(notify), kGoodStart);
  EXPECT_EQ(failures(), 0U);
}

// Any bytes whatever. The sanitizers watch.

TEST_F(Damage, EverySingleByteMayBeAnything) {
  const Bytes whole = NotifyBuilder()
                          .uptime(1)
                          .trap_oid("1.3.6.1.4.1.32473.0.7")
                          .octets("1.3.6.1.4.1", "text")
                          .ip_address("1.3.6.1.4.2", bytes_of("0a 00 00 05"))
                          .counter64("1.3.6.1.4.3", 1)
                          .null("1.3.6.1.4.4")
                          .bytes();
  for (size_t at = 0; at < whole.size(); ++at) {
    for (const uint8_t value :
         {uint8_t{0}, uint8_t{1}, uint8_t{0x7F}, uint8_t{0x80}, uint8_t{0xFF}}) {
      Bytes damaged = whole;
      damaged[at] = value;
      EXPECT_LE(decode_notification(damaged).vbs.size(), 512U);
    }
  }
}

TEST_F(Damage, ThePacketMayEndAnywhere) {
  const Bytes whole = NotifyBuilder()
                          .uptime(1)
                          .trap_oid("1.3.6.1.4.1.32473.0.7")
                          .octets("1.3.6.1.4.1", "text")
                          .integer("1.3.6.1.4.2", 2)
                          .bytes();
  const Lines all = bindings_text(decode_notification(whole));
  ASSERT_EQ(all.size(), 2U);
  for (size_t size = 0; size < whole.size(); ++size) {
    // On the heap and no longer than it says: one byte too far would show.
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_LE(decode_notification(cut).vbs.size(), 2U) << size;
  }
}

TEST_F(Damage, PacketOfOneByteValueEnds) {
  for (int value = 0; value < 256; ++value) {
    decode_notification(Bytes(kMax, static_cast<uint8_t>(value)));
    decode_notification(Bytes(2 * kMax, static_cast<uint8_t>(value)));
  }
  EXPECT_GT(failures(), 0U);
}

}  // namespace
