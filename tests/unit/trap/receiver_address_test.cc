// SPDX-License-Identifier: Apache-2.0
// Which address a receiver has and for how long it is kept. The look-up is the
// test's.
#include "trap/receiver_address.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/text.h"
#include "tests/support/call_script.h"
#include "trap/name_lookup.h"

namespace {

struct Resolver {
  std::map<std::string, std::string> names;  // what each means
  bool silent = false;
  Lines asked;
};
Resolver* resolver = nullptr;

}  // namespace

// In the place of that of the trap sender.
LookupResult wrapped_look_up_name(const char* name) asm("__wrap__Z12look_up_namePKc");
LookupResult wrapped_look_up_name(const char* name) {
  resolver->asked.emplace_back(name);
  LookupResult result;
  const auto entry = resolver->names.find(name);
  if (resolver->silent) {
    copy_text(result.why, "no answer within a second");
  } else if (entry == resolver->names.end()) {
    result.status = LookupStatus::kUnknown;
    copy_text(result.why, "Name or service not known");
  } else {
    result.status = LookupStatus::kFound;
    result.address.s_addr = inet_addr(entry->second.c_str());
  }
  return result;
}

namespace {

constexpr int64_t kMinuteMs = 60'000;

// Each test uses names of its own: what is known of a name outlives a test.
class ReceiverAddress : public testing::Test {
 protected:
  ReceiverAddress() { resolver = &resolver_; }
  ~ReceiverAddress() override { resolver = nullptr; }

  static std::string address_of(const std::string& destination) {
    return receiver_address(destination.c_str()).get_printable();
  }

  Lines asked() { return std::exchange(resolver_.asked, {}); }
  // The lines since the last call.
  Lines new_lines() {
    Lines lines(script.logs().begin() + static_cast<std::ptrdiff_t>(seen_), script.logs().end());
    seen_ = script.logs().size();
    return lines;
  }

  CallScript script;
  Resolver resolver_;

 private:
  size_t seen_ = 0;
};

TEST_F(ReceiverAddress, OfANumericTextIsAskedOfNobody) {
  EXPECT_EQ(address_of("192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(address_of(" 192.0.2.7"), "192.0.2.7");
  EXPECT_EQ(address_of("127.1"), "127.0.0.1");
  EXPECT_EQ(address_of("192.0.2.7:1162"), "192.0.2.7/1162");
  EXPECT_FALSE(receiver_address("300.1.1.1").valid());
  EXPECT_EQ(asked(), Lines());
}

TEST_F(ReceiverAddress, OfATextThatIsNoneIsAskedOfNobody) {
  EXPECT_FALSE(receiver_address("2001:db8::7").valid());
  EXPECT_FALSE(receiver_address("a b").valid());
  EXPECT_FALSE(receiver_address("").valid());
  EXPECT_EQ(asked(), Lines());
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(ReceiverAddress, OfANameIsKeptForFiveMinutes) {
  resolver_.names = {{"kept.example", "192.0.2.7"}};
  EXPECT_EQ(address_of("kept.example"), "192.0.2.7");
  resolver_.names = {{"kept.example", "192.0.2.8"}};
  script.pass_ms(5 * kMinuteMs - 1);
  EXPECT_EQ(address_of("kept.example"), "192.0.2.7");
  EXPECT_EQ(asked(), Lines({"kept.example"}));
  script.pass_ms(1);
  EXPECT_EQ(address_of("kept.example"), "192.0.2.8");
  EXPECT_EQ(asked(), Lines({"kept.example"}));
  EXPECT_EQ(script.logs(), Lines());
}

TEST_F(ReceiverAddress, OfAnUnknownNameIsAskedOnceAMinute) {
  EXPECT_FALSE(receiver_address("unknown.example").valid());
  script.pass_ms(kMinuteMs - 1);
  EXPECT_FALSE(receiver_address("unknown.example").valid());
  EXPECT_EQ(asked(), Lines({"unknown.example"}));
  script.pass_ms(1);
  EXPECT_FALSE(receiver_address("unknown.example").valid());
  EXPECT_EQ(asked(), Lines({"unknown.example"}));
}

TEST_F(ReceiverAddress, ThatIsMissingIsLoggedOnceAndSoIsItsReturn) {
  EXPECT_FALSE(receiver_address("moving.example").valid());
  EXPECT_EQ(new_lines(), Lines({"3 tvurev: trap receiver [moving.example] does not resolve: Name "
                                "or service not known. It gets no traps.\n"}));
  script.pass_ms(kMinuteMs);
  EXPECT_FALSE(receiver_address("moving.example").valid());
  EXPECT_EQ(new_lines(), Lines());
  resolver_.names = {{"moving.example", "192.0.2.7"}};
  script.pass_ms(kMinuteMs);
  EXPECT_EQ(address_of("moving.example"), "192.0.2.7");
  EXPECT_EQ(new_lines(),
            Lines({"6 tvurev: trap receiver [moving.example] resolves again: [192.0.2.7].\n"}));
  script.pass_ms(5 * kMinuteMs);
  EXPECT_EQ(address_of("moving.example"), "192.0.2.7");
  EXPECT_EQ(new_lines(), Lines());
}

TEST_F(ReceiverAddress, StaysInUseWhileNobodyCanSayAnother) {
  resolver_.names = {{"stale.example", "192.0.2.7"}};
  address_of("stale.example");
  resolver_.silent = true;
  script.pass_ms(5 * kMinuteMs);
  EXPECT_EQ(address_of("stale.example"), "192.0.2.7");
  EXPECT_EQ(new_lines(),
            Lines({"3 tvurev: trap receiver [stale.example] does not resolve: no answer "
                   "within a second. Its last address [192.0.2.7] is used.\n"}));
  asked();
  script.pass_ms(kMinuteMs);
  EXPECT_EQ(address_of("stale.example"), "192.0.2.7");
  EXPECT_EQ(asked(), Lines({"stale.example"}));
  EXPECT_EQ(new_lines(), Lines());
}

TEST_F(ReceiverAddress, GoesWhenItsNameIsGone) {
  resolver_.names = {{"gone.example", "192.0.2.7"}};
  address_of("gone.example");
  resolver_.names.clear();
  script.pass_ms(5 * kMinuteMs);
  EXPECT_FALSE(receiver_address("gone.example").valid());
  EXPECT_EQ(new_lines(), Lines({"3 tvurev: trap receiver [gone.example] does not resolve: Name or "
                                "service not known. It gets no traps.\n"}));
}

TEST_F(ReceiverAddress, OfANameIsTheSameForEveryPort) {
  resolver_.names = {{"ports.example", "192.0.2.7"}};
  EXPECT_EQ(address_of("ports.example:1162"), "192.0.2.7/1162");
  EXPECT_EQ(address_of("ports.example/2162"), "192.0.2.7/2162");
  EXPECT_EQ(address_of("ports.example"), "192.0.2.7");
  EXPECT_EQ(asked(), Lines({"ports.example"}));
}

TEST_F(ReceiverAddress, OfThreeNamesAreKeptSideBySide) {
  resolver_.names = {{"one.example", "192.0.2.1"}, {"two.example", "192.0.2.2"}};
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(address_of("one.example"), "192.0.2.1");
    EXPECT_EQ(address_of("two.example"), "192.0.2.2");
    EXPECT_FALSE(receiver_address("three.example").valid());
  }
  EXPECT_EQ(asked(), Lines({"one.example", "two.example", "three.example"}));
}

TEST_F(ReceiverAddress, OfAFourthNameTakesThePlaceOfWhatExpiresFirst) {
  resolver_.names = {{"a.example", "192.0.2.1"},
                     {"b.example", "192.0.2.2"},
                     {"c.example", "192.0.2.3"},
                     {"d.example", "192.0.2.4"}};
  for (const char* name : {"a.example", "b.example", "c.example", "d.example", "b.example"}) {
    address_of(name);
    script.pass_ms(1);
  }
  EXPECT_EQ(asked(), Lines({"a.example", "b.example", "c.example", "d.example"}));
  address_of("a.example");
  EXPECT_EQ(asked(), Lines({"a.example"}));
}

TEST_F(ReceiverAddress, FaultsSayWhatIsWrong) {
  receiver_address("fault.example");
  EXPECT_STREQ(receiver_fault("fault.example").data(),
               "its name does not resolve: Name or service not known");
  EXPECT_STREQ(receiver_fault("::1").data(), "it is an IPv6 address, and only IPv4 is served");
  EXPECT_STREQ(receiver_fault("300.1.1.1").data(),
               "its syntax is neither that of an IPv4 address nor of a host name");
}

TEST_F(ReceiverAddress, IsUsableWhenItIsNumericOrAName) {
  EXPECT_TRUE(is_usable_receiver("192.0.2.7"));
  EXPECT_TRUE(is_usable_receiver("nobody-knows.example"));
  EXPECT_FALSE(is_usable_receiver("300.1.1.1"));
  EXPECT_FALSE(is_usable_receiver("::1"));
  EXPECT_FALSE(is_usable_receiver("%n"));
  EXPECT_EQ(asked(), Lines());
}

}  // namespace
