// SPDX-License-Identifier: Apache-2.0
// Ten complaints of a kind a second, and the count of the rest.
#include "log/complaints.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/support/call_script.h"

namespace {

class Complaints : public testing::Test {
 protected:
  void SetUp() override {
    fans = {.about = "fans"};
    doors = {.about = "doors"};
  }
  // The next test must not find a kind that lives no more in the list.
  void TearDown() override {
    script.pass_ms(1'000);
    say_held_complaints();
  }

  void complain_about_fans(int times) {
    for (int i = 0; i < times; ++i) {
      complain(fans, "fan %d\n", ++fan);
    }
  }

  // The lines since the last call.
  Lines new_lines() {
    Lines lines(script.logs().begin() + static_cast<std::ptrdiff_t>(seen), script.logs().end());
    seen = script.logs().size();
    return lines;
  }

  CallScript script;
  Complaint fans = {.about = ""};
  Complaint doors = {.about = ""};
  int fan = 0;
  size_t seen = 0;
};

TEST_F(Complaints, AreWrittenTenTimesASecond) {
  complain_about_fans(1'000);
  EXPECT_EQ(new_lines(), Lines({"3 fan 1\n", "3 fan 2\n", "3 fan 3\n", "3 fan 4\n", "3 fan 5\n",
                                "3 fan 6\n", "3 fan 7\n", "3 fan 8\n", "3 fan 9\n", "3 fan 10\n"}));
}

TEST_F(Complaints, OfTenAreNotCountedOut) {
  complain_about_fans(10);
  script.pass_ms(1'000);
  complain_about_fans(1);
  say_held_complaints();
  EXPECT_EQ(script.logs().size(), 11U);
}

TEST_F(Complaints, HeldBackAreCountedBeforeTheNextOfTheirKind) {
  complain_about_fans(17);
  script.pass_ms(999);
  complain_about_fans(1);
  new_lines();
  script.pass_ms(1);
  complain_about_fans(1);
  EXPECT_EQ(new_lines(), Lines({"3 fans: 8 more like this.\n", "3 fan 19\n"}));
}

TEST_F(Complaints, HeldBackAreCountedWhenTheLoopComesRound) {
  complain_about_fans(12);
  new_lines();
  script.pass_ms(999);
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines());
  script.pass_ms(1);
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 fans: 2 more like this.\n"}));
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines());
}

TEST_F(Complaints, HeldBackAreCountedAtOnceWhereTheLoopEnds) {
  complain_about_fans(12);
  new_lines();
  say_all_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 fans: 2 more like this.\n"}));
  say_all_held_complaints();
  complain_about_fans(1);
  EXPECT_EQ(new_lines(), Lines());
  script.pass_ms(1'000);
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 fans: 1 more like this.\n"}));
}

TEST_F(Complaints, AreCountedOnceASecondForAsLongAsTheyCome) {
  for (int second = 0; second < 3; ++second) {
    complain_about_fans(110);
    new_lines();
    script.pass_ms(1'000);
    say_held_complaints();
    EXPECT_EQ(new_lines(), Lines({"3 fans: 100 more like this.\n"}));
  }
}

TEST_F(Complaints, OfAnotherKindHaveALimitOfTheirOwn) {
  complain_about_fans(12);
  new_lines();
  complain(doors, "door %d\n", 1);
  EXPECT_EQ(new_lines(), Lines({"3 door 1\n"}));
}

TEST_F(Complaints, OfEveryKindHeldBackAreCounted) {
  Complaint locks = {.about = "locks"};
  for (int i = 0; i < 11; ++i) {
    complain(fans, "fan\n");
    complain(locks, "lock\n");
    complain(doors, "door\n");
  }
  // Locks leave the list from its middle; the others when the loop comes round.
  script.pass_ms(1'000);
  new_lines();
  complain(locks, "lock\n");
  EXPECT_EQ(new_lines(), Lines({"3 locks: 1 more like this.\n", "3 lock\n"}));
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 doors: 1 more like this.\n", "3 fans: 1 more like this.\n"}));
}

TEST_F(Complaints, OfOneSecondSayNothingOfAKindWhoseSecondBeganLater) {
  complain_about_fans(11);
  script.pass_ms(600);
  for (int i = 0; i < 13; ++i) {
    complain(doors, "door\n");
  }
  new_lines();
  script.pass_ms(400);
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 fans: 1 more like this.\n"}));
  script.pass_ms(600);
  say_held_complaints();
  EXPECT_EQ(new_lines(), Lines({"3 doors: 3 more like this.\n"}));
}

TEST_F(Complaints, ShowControlCharactersAsHexadecimal) {
  complain(fans, "name [%s]\n", "a\x1b[31m\n6 forged\x7f");
  EXPECT_EQ(new_lines(), Lines({"3 name [a\\x1b[31m\\x0a6 forged\\x7f]\n"}));
}

TEST_F(Complaints, LeaveErrnoAlone) {
  errno = EBUSY;
  complain_about_fans(11);
  EXPECT_EQ(errno, EBUSY);
  script.pass_ms(1'000);
  say_held_complaints();
  EXPECT_EQ(errno, EBUSY);
}

}  // namespace
