// SPDX-License-Identifier: Apache-2.0
// Texts of binary values: object identifiers, addresses, hexadecimal.
#include "trap/agentx_text.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/packets.h"

namespace {

std::string oid(uint8_t prefix, std::string_view sub_identifiers_hex) {
  return render_oid(prefix, bytes_of(sub_identifiers_hex)).data();
}

TEST(RenderOid, JoinsPrefixAndSubIdentifiers) {
  EXPECT_EQ(oid(4, "01 00 00 00 d9 7e 00 00"), "1.3.6.1.4.1.32473");
}

TEST(RenderOid, AppendsAPrefixOf0) {
  EXPECT_EQ(oid(0, "09 00 00 00"), "1.3.6.1.0.9");
}

TEST(RenderOid, NeedsNoSubIdentifier) {
  EXPECT_EQ(oid(255, ""), "1.3.6.1.255");
}

struct SubIdentifier {
  const char* hex;
  const char* text;
};

class RenderSubIdentifier : public testing::TestWithParam<SubIdentifier> {};

TEST_P(RenderSubIdentifier, IsSignedAndCutTo7CharactersWithItsDot) {
  EXPECT_EQ(oid(4, GetParam().hex), std::string("1.3.6.1.4") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Values, RenderSubIdentifier,
                         testing::Values(SubIdentifier{"00 00 00 00", ".0"},
                                         SubIdentifier{"3f 42 0f 00", ".999999"},
                                         SubIdentifier{"40 42 0f 00", ".100000"},  // 1000000
                                         SubIdentifier{"4e 61 bc 00", ".123456"},  // 12345678
                                         SubIdentifier{"ff ff ff 7f", ".214748"},
                                         SubIdentifier{"ff ff ff ff", ".-1"},
                                         SubIdentifier{"00 00 00 80", ".-21474"}));

TEST(RenderOid, CutsTheTextAt255Characters) {
  std::string sub_identifiers;
  std::string expected = "1.3.6.1.4";
  for (int i = 0; i < 255; ++i) {
    sub_identifiers += "3f 42 0f 00";
    expected += ".999999";
  }
  EXPECT_EQ(oid(4, sub_identifiers), expected.substr(0, 255));
}

TEST(RenderOid, FillsThe255CharactersExactly) {
  std::string sub_identifiers;
  for (int i = 0; i < 35; ++i) {  // 9 + 35 * 7 = 254
    sub_identifiers += "3f 42 0f 00";
  }
  EXPECT_EQ(oid(4, sub_identifiers).size(), 254U);
  EXPECT_EQ(oid(4, sub_identifiers + "07 00 00 00").size(), 255U);
  EXPECT_EQ(oid(4, sub_identifiers + "07 00 00 00").back(), '.');
  EXPECT_EQ(oid(10, sub_identifiers + "07 00 00 00").size(), 255U);
}

TEST(RenderOid, IgnoresAnIncompleteSubIdentifier) {
  EXPECT_EQ(oid(4, "01 00 00 00 02 00 00"), "1.3.6.1.4.1");
}

TEST(RenderDotted, JoinsUnsignedDecimals) {
  EXPECT_EQ(render_dotted(bytes_of("0a 00 00 05")), "10.0.0.5");
  EXPECT_EQ(render_dotted(bytes_of("ff")), "255");
  EXPECT_EQ(render_dotted(bytes_of("")), "");
}

std::string hex(std::string_view text, size_t length) {
  return render_hex(text, length).data();
}

TEST(RenderHex, WritesTwoDigitsACharacter) {
  EXPECT_EQ(hex("Ab\n", 3), "41620a");
}

TEST(RenderHex, ShowsABytesSignAndCutsItTo7Characters) {
  EXPECT_EQ(hex("\x80\xff\x7f", 3), "ffffff8fffffff7f");
}

TEST(RenderHex, ShowsZerosBehindTheText) {
  EXPECT_EQ(hex("A", 3), "410000");
}

TEST(RenderHex, ShowsNoMoreThanItIsAskedFor) {
  EXPECT_EQ(hex("ABC", 2), "4142");
  EXPECT_EQ(hex("ABC", 0), "");
}

TEST(RenderHex, CutsTheTextAt255Characters) {
  EXPECT_EQ(hex(std::string(127, 'A'), 127).size(), 254U);
  EXPECT_EQ(hex(std::string(128, 'A'), 128).size(), 255U);
  EXPECT_EQ(hex(std::string(4076, '\x80'), 4076).size(), 255U);
  EXPECT_EQ(hex("", 0xFFFFFFFF).size(), 255U);
}

}  // namespace
