// SPDX-License-Identifier: Apache-2.0
// Object identifiers as numbers: always what their texts give.
#include "trap/object_id.h"

#include <gtest/gtest.h>

#include <random>
#include <span>
#include <string>
#include <vector>

#include "tests/support/packets.h"
#include "wire/little_endian.h"

namespace {

using Snmp_pp::Oid;

constexpr ArcsText kPart("1.3.6.1.2.1.1.3");

Bytes sub_identifiers(const std::vector<uint32_t>& arcs) {
  Bytes bytes(arcs.size() * sizeof(uint32_t));
  for (size_t i = 0; i < arcs.size(); ++i) {
    put_u32(bytes, i * sizeof(uint32_t), arcs[i]);
  }
  return bytes;
}

ObjectId read_id(uint8_t prefix, std::span<const uint8_t> sub_identifiers) {
  ObjectId id;
  read_object_id(prefix, sub_identifiers, id);
  return id;
}

void expect_what_the_text_gives(uint8_t prefix, const std::vector<uint32_t>& arcs) {
  const Bytes bytes = sub_identifiers(arcs);
  const ObjectId id = read_id(prefix, bytes);
  const std::string text = render_oid(prefix, bytes).data();
  EXPECT_EQ(text_of(id).data(), text);
  EXPECT_TRUE(snmp_oid(id) == Oid(text.c_str())) << text;
  EXPECT_EQ(snmp_oid(id).valid(), Oid(text.c_str()).valid()) << text;
  EXPECT_EQ(text_holds(id, kPart), text.find(kPart.text) != std::string::npos) << text;
}

TEST(ObjectId, HoldsATextAtItsBeginning) {
  EXPECT_TRUE(text_holds(read_id(2, sub_identifiers({1, 1, 3, 0})), kPart));
}

TEST(ObjectId, HoldsATextAmidNumbers) {
  EXPECT_TRUE(text_holds(read_id(4, sub_identifiers({71, 3, 6, 1, 2, 1, 1, 35})), kPart));
}

TEST(ObjectId, HoldsATextAmidANumberThatIsCut) {
  const Bytes bytes = sub_identifiers({1, 3, 6, 1, 2, 1, 1, 3'000'000'00});
  EXPECT_TRUE(text_holds(read_id(4, bytes), kPart));
}

TEST(ObjectId, DoesNotHoldATextWhoseNumbersDiffer) {
  EXPECT_FALSE(text_holds(read_id(2, sub_identifiers({1, 1, 2, 3})), kPart));
  EXPECT_FALSE(text_holds(read_id(4, sub_identifiers({3, 6, 1, 2, 1, 1, 3})), kPart));
  EXPECT_FALSE(text_holds(read_id(4, sub_identifiers({10, 3, 6, 1, 2, 1, 1, 3})), kPart));
  EXPECT_FALSE(text_holds(read_id(4, sub_identifiers({1, 3, 61, 2, 1, 1, 3})), kPart));
}

TEST(ObjectId, DoesNotHoldATextOfWhichItIsAPart) {
  EXPECT_FALSE(text_holds(read_id(2, {}), kPart));
  EXPECT_FALSE(text_holds(read_id(2, sub_identifiers({1, 1})), kPart));
}

TEST(ObjectId, IsInvalidWhereItsTextHasANegativeArc) {
  EXPECT_FALSE(snmp_oid(read_id(4, sub_identifiers({1, 0xFFFFFFFF, 2}))).valid());
}

TEST(ObjectId, GivesWhatItsTextGivesAtEachEdgeOfAnArc) {
  for (const uint32_t arc : {0U, 9U, 10U, 99U, 100U, 999'999U, 1'000'000U, 9'999'999U, 0x7FFFFFFFU,
                             0x80000000U, 0xFFFFFFFFU}) {
    expect_what_the_text_gives(4, {1, arc});
    expect_what_the_text_gives(0, {arc, 3, 6, 1, 2, 1, 1, arc});
  }
}

// The longest one has 4 arcs before these, and a text that is cut.
TEST(ObjectId, GivesWhatItsTextGivesAtEachLength) {
  for (size_t count = 0; count <= 255; ++count) {
    expect_what_the_text_gives(2, std::vector<uint32_t>(count, 1));
    expect_what_the_text_gives(255, std::vector<uint32_t>(count, 999'999));
  }
}

TEST(ObjectId, GivesWhatItsTextGivesForAnyArcs) {
  std::mt19937 random(7);
  for (int round = 0; round < 20'000; ++round) {
    std::vector<uint32_t> arcs = {1, 3, 6, 1, 2, 1, 1, 3};
    arcs.resize(random() % 12);
    for (size_t changes = random() % 3; changes != 0 && !arcs.empty(); --changes) {
      arcs[random() % arcs.size()] = static_cast<uint32_t>(random() >> (random() % 32));
    }
    expect_what_the_text_gives(static_cast<uint8_t>(random() % 4), arcs);
  }
}

}  // namespace
