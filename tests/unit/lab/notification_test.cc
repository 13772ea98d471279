// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/notification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

SentBinding binding(const std::string& text) {
  std::string error;
  const auto parsed = parse_binding(text, &error);
  EXPECT_TRUE(parsed.has_value()) << error;
  return parsed.value_or(SentBinding{});
}

std::string binding_error(const std::string& text) {
  std::string error;
  EXPECT_FALSE(parse_binding(text, &error).has_value());
  return error;
}

}  // namespace

TEST(BuildNotify, WithoutBindingsIsABareHeader) {
  EXPECT_THAT(build_notify({}), ElementsAre(1, 12, 0, 0,  //
                                            1, 0, 0, 0,   //
                                            0, 0, 0, 0,   //
                                            0, 0, 0, 0,   //
                                            0, 0, 0, 0));
}

TEST(BuildNotify, PutsUptimeAndTrapOidFirst) {
  SentNotification notification;
  notification.uptime = 0x01020304;
  notification.trap_oid = {1, 3, 6, 1, 4, 1, 32473};
  notification.session_id = 0xA1;
  notification.transaction_id = 0xB2;
  notification.packet_id = 0xC3;
  const std::vector<int> expected = {
      1, 12, 0, 0, 0xA1, 0, 0, 0, 0xB2, 0, 0, 0, 0xC3, 0, 0, 0, 80, 0, 0, 0,
      // sysUpTime.0
      67, 0, 0, 0, 4, 2, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0, 0, 4, 3, 2, 1,
      // snmpTrapOID.0
      6, 0, 0, 0, 6, 6, 0, 0, 3, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0,
      0, 2, 4, 0, 0, 1, 0, 0, 0, 0xD9, 0x7E, 0, 0};
  Bytes bytes(expected.begin(), expected.end());
  bytes[16] = static_cast<uint8_t>(bytes.size() - agentx::header::kSize);
  EXPECT_THAT(build_notify(notification), ElementsAreArray(bytes));
}

TEST(BuildNotify, ClaimsAnotherPayloadLengthWhenTold) {
  SentNotification notification;
  notification.payload_length = 0xFFFFFFFF;
  notification.pdu_type = 18;
  const Bytes pdu = build_notify(notification);
  EXPECT_EQ(pdu[1], 18);
  EXPECT_THAT(std::span(pdu).subspan(16), ElementsAre(0xFF, 0xFF, 0xFF, 0xFF));
}

TEST(ParseBinding, WordsTravelLittleEndian) {
  EXPECT_THAT(binding("1.3.6.1.4.1=integer:-2").value, ElementsAre(0xFE, 0xFF, 0xFF, 0xFF));
  EXPECT_EQ(binding("1.3.6.1.4.1=integer:5").type, 2);
  EXPECT_EQ(binding("1.3.6.1.4.1=counter32:5").type, 65);
  EXPECT_EQ(binding("1.3.6.1.4.1=gauge32:5").type, 66);
  EXPECT_EQ(binding("1.3.6.1.4.1=timeticks:5").type, 67);
}

TEST(ParseBinding, OctetsArePaddedToFour) {
  EXPECT_THAT(binding("1.3.6.1.4.1=octets:hello").value,
              ElementsAre(5, 0, 0, 0, 'h', 'e', 'l', 'l', 'o', 0, 0, 0));
  EXPECT_THAT(binding("1.3.6.1.4.1=octets:").value, ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(binding("1.3.6.1.4.1=hex:00ff0102").value, ElementsAre(4, 0, 0, 0, 0, 0xFF, 1, 2));
  EXPECT_EQ(binding("1.3.6.1.4.1=hex:00").type, 4);
}

TEST(ParseBinding, ATextMayHoldEqualsSignsAndColons) {
  EXPECT_THAT(binding("1.3.6.1.4.1=octets:a=b:").value,
              ElementsAre(4, 0, 0, 0, 'a', '=', 'b', ':'));
}

TEST(ParseBinding, AddressesAndOpaquesAreOctets) {
  EXPECT_EQ(binding("1.3.6.1.4.1=ipaddress:192.0.2.7").type, 64);
  EXPECT_THAT(binding("1.3.6.1.4.1=ipaddress:192.0.2.7").value,
              ElementsAre(4, 0, 0, 0, 192, 0, 2, 7));
  EXPECT_EQ(binding("1.3.6.1.4.1=opaque:x").type, 68);
  EXPECT_EQ(binding("1.3.6.1.4.1=opaque-hex:00").type, 68);
}

TEST(ParseBinding, ObjectIdentifiersTakeThePrefixForm) {
  EXPECT_EQ(binding("1.3.6.1.4.1=oid:1.3.6.1.4.7").type, 6);
  EXPECT_THAT(binding("1.3.6.1.4.1=oid:1.3.6.1.4.7").value, ElementsAre(1, 4, 0, 0, 7, 0, 0, 0));
}

TEST(ParseBinding, Counter64TravelsLowWordFirst) {
  EXPECT_EQ(binding("1.3.6.1.4.1=counter64:1").type, 70);
  EXPECT_THAT(binding("1.3.6.1.4.1=counter64:0x0102030405060708").value,
              ElementsAre(8, 7, 6, 5, 4, 3, 2, 1));
}

TEST(ParseBinding, ExceptionsAndNullHaveNoValue) {
  EXPECT_EQ(binding("1.3.6.1.4.1=null").type, 5);
  EXPECT_EQ(binding("1.3.6.1.4.1=noSuchObject").type, 128);
  EXPECT_EQ(binding("1.3.6.1.4.1=noSuchInstance").type, 129);
  EXPECT_EQ(binding("1.3.6.1.4.1=endOfMibView").type, 130);
  EXPECT_TRUE(binding("1.3.6.1.4.1=null").value.empty());
  EXPECT_EQ(binding_error("1.3.6.1.4.1=null:1"), "not a value of type null: 1");
}

TEST(ParseBinding, RawTakesAnyTypeAndBytes) {
  EXPECT_EQ(binding("1.3.6.1.4.1=raw:999:0102").type, 999);
  EXPECT_THAT(binding("1.3.6.1.4.1=raw:999:0102").value, ElementsAre(1, 2));
  EXPECT_EQ(binding_error("1.3.6.1.4.1=raw:999"), "raw needs CODE:HEX: 999");
}

TEST(ParseBinding, SaysWhatIsWrong) {
  EXPECT_EQ(binding_error("uptime"), "not a binding of the form OID=type:value: uptime");
  EXPECT_EQ(binding_error("x=integer:1"), "not a binding of the form OID=type:value: x=integer:1");
  EXPECT_EQ(binding_error("1.3.6.2.1=integer:1"),
            "an object identifier must begin with 1.3.6.1 and a number below 256: 1.3.6.2.1");
  EXPECT_EQ(binding_error("1.3.6.1.4=text:1"), "unknown type of a binding: text");
  EXPECT_EQ(binding_error("1.3.6.1.4=integer:x"), "not a value of type integer: x");
  EXPECT_EQ(binding_error("1.3.6.1.4=oid:1.3"), "not a value of type oid: 1.3");
}

TEST(IsEncodable, KnowsItsLimits) {
  OidNumbers longest = {1, 3, 6, 1, 255};
  EXPECT_TRUE(is_encodable(longest));
  longest.resize(longest.size() + 255);
  EXPECT_TRUE(is_encodable(longest));
  longest.push_back(0);
  EXPECT_FALSE(is_encodable(longest));
  EXPECT_FALSE(is_encodable(OidNumbers{1, 3, 6, 1}));
  EXPECT_FALSE(is_encodable(OidNumbers{1, 3, 6, 1, 256}));
}

TEST(DescribeNotify, WritesTheWordsOfAScenario) {
  SentNotification notification;
  notification.uptime = 77;
  notification.trap_oid = {1, 3, 6, 1, 4, 1, 32473, 1};
  const std::string words =
      " 1.3.6.1.4.1=integer:-2 1.3.6.1.4.2=gauge32:4294967294 1.3.6.1.4.3=octets:\"fan 3\""
      " 1.3.6.1.4.4=hex:00ff 1.3.6.1.4.5=ipaddress:192.0.2.7 1.3.6.1.4.6=opaque:\"x\""
      " 1.3.6.1.4.7=oid:1.3.6.1.4.9 1.3.6.1.4.8=counter64:18446744073709551615 1.3.6.1.4.9=null";
  for (const std::string& word : split_words(words).words) {
    notification.bindings.push_back(binding(word));
  }
  EXPECT_EQ(describe_notify(build_notify(notification)),
            "notify uptime=77 1.3.6.1.4.1.32473.1" + words);
}

TEST(DescribeNotify, StopsAtTheEndOfTheBytes) {
  SentNotification notification;
  notification.bindings = {binding("1.3.6.1.4.1=octets:hello")};
  const Bytes pdu = build_notify(notification);
  EXPECT_EQ(describe_notify(std::span(pdu).first(19)), "AgentX PDU of 19 bytes");
  for (size_t length = 21; length < pdu.size() - 3; ++length) {
    EXPECT_EQ(describe_notify(std::span(pdu).first(length)), "notify (the rest cannot be read)")
        << length;
  }
}

TEST(DescribeNotify, DoesNotBelieveAnOctetLength) {
  SentNotification notification;
  notification.bindings = {binding("1.3.6.1.4.1=raw:4:ffffffff")};
  EXPECT_EQ(describe_notify(build_notify(notification)), "notify (the rest cannot be read)");
}
