// SPDX-License-Identifier: Apache-2.0
// The account finds what it is there to find, and the life is the seed's alone.
#include "tests/soak/account.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/soak/life.h"
#include "tests/soak/notifications.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// One receiver that is there, and is told of three traps on the channel.
class AccountTest : public testing::Test {
 protected:
  AccountTest() {
    account.receivers.push_back({.address = "192.0.2.7",
                                 .community = "public",
                                 .fd = Descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC)),
                                 .configured = true});
    for (const char* trap : {"a", "b", "c"}) {
      expect_trap(account, Road::kChannel, trap);
    }
  }

  void arrives(const std::string& text) { take_trap(account, account.receivers[0], text); }

  Account account;
};

TEST_F(AccountTest, BalancesWhenEachCameOnceInOrder) {
  arrives("public a");
  arrives("public b");
  EXPECT_FALSE(has_all(account));
  arrives("public c");
  EXPECT_TRUE(has_all(account));
  EXPECT_THAT(account.errors, IsEmpty());
}

TEST_F(AccountTest, LetsTheRoadsOvertakeEachOther) {
  expect_trap(account, Road::kSocket, "d");
  arrives("public d");
  arrives("public a");
  EXPECT_THAT(account.errors, IsEmpty());
}

TEST_F(AccountTest, NamesWhatIsMissingWhenTheNextComes) {
  arrives("public c");
  EXPECT_THAT(account.errors,
              ElementsAre("192.0.2.7: 2 missing on the channel from a to before c"));
}

TEST_F(AccountTest, KeepsWhatNeverCame) {
  arrives("public a");
  EXPECT_FALSE(has_all(account, Road::kChannel));
  EXPECT_TRUE(has_all(account, Road::kSocket));
}

TEST_F(AccountTest, RefusesOneThatCameTwice) {
  arrives("public a");
  arrives("public a");
  EXPECT_THAT(account.errors, ElementsAre(HasSubstr("nobody sent this, or it came before")));
}

TEST_F(AccountTest, RefusesOneOfAnotherCommunityOrContent) {
  arrives("ops a");
  arrives("public a 1.3=1");
  EXPECT_EQ(account.errors.size(), 2U);
}

TEST_F(AccountTest, ExpectsNothingOfAReceiverThatIsAway) {
  account.receivers[0].fd.reset();
  expect_trap(account, Road::kSocket, "d");
  EXPECT_TRUE(has_all(account, Road::kSocket));
}

TEST(Life, IsTheSameForTheSameSeedAndAnotherForAnother) {
  const auto texts = [](uint64_t seed) {
    std::string all;
    for (const LifeEvent& event : make_life({.seed = seed, .days = 3, .events = 500})) {
      all += event_text(event) + "\n";
    }
    return all;
  };
  EXPECT_EQ(texts(1), texts(1));
  EXPECT_NE(texts(1), texts(2));
}

TEST(Life, LeavesOutAKindAndMovesNoOther) {
  const std::vector<LifeEvent> whole = make_life({.seed = 4, .days = 3, .events = 500});
  const std::vector<LifeEvent> part =
      make_life({.seed = 4, .days = 3, .events = 500, .without = {"notify"}});
  ASSERT_FALSE(part.empty());
  EXPECT_LT(part.size(), whole.size());
  for (const LifeEvent& event : part) {
    EXPECT_EQ(std::ranges::count(whole, event_text(event), event_text), 1) << event_text(event);
  }
}

// Over many numbers each kind of shape comes up.
TEST(Notifications, AreOfEverySizeUpToTheLargest) {
  size_t largest = 0;
  size_t smallest = 4080;
  for (uint32_t number = 1; number <= 3'000; ++number) {
    const size_t size = good_notification(1, number).pdu.size();
    ASSERT_LE(size, 4080U) << number;
    largest = std::max(largest, size);
    smallest = std::min(smallest, size);
  }
  EXPECT_EQ(largest, 4080U);
  EXPECT_LT(smallest, 120U);
}

}  // namespace
