// SPDX-License-Identifier: Apache-2.0
// The logging calls as the system log sees them.
#include "log/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <string>

#include "log/debug_flags.h"
#include "tests/support/call_script.h"

namespace {

class Logging : public testing::Test {
 protected:
  void SetUp() override {
    g_utilities_debug_flag = 1;
    g_daemon_debug_flag = 1;
    script.file("/tmp/ortAll.text");
  }
  void TearDown() override {
    g_utilities_debug_flag = 0;
    g_daemon_debug_flag = 0;
  }

  CallScript script;
};

TEST_F(Logging, WritesOneMessage) {
  Log(3, "value %d\n", 7);
  EXPECT_EQ(script.log_calls(), Lines({"ortdv 3 value 7\n"}));
}

TEST_F(Logging, WritesEveryMessageByItself) {
  UtilLog("first\n");
  UtilLog("second\n");
  EXPECT_EQ(script.log_calls(), Lines({"ortdv 6 first\n", "ortdv 6 second\n"}));
}

TEST_F(Logging, KeepsThePriorityItWasGiven) {
  for (int priority = 0; priority <= 7; ++priority) {
    Log(priority, "x");
  }
  EXPECT_EQ(script.logs(), Lines({"0 x", "1 x", "2 x", "3 x", "4 x", "5 x", "6 x", "7 x"}));
}

TEST_F(Logging, WritesDaemonDebugMessagesAtPriority6) {
  DaemonDebug("numfds [%d].\n", 1);
  EXPECT_EQ(script.log_calls(), Lines({"ortdv 6 numfds [1].\n"}));
}

TEST_F(Logging, WritesDebugMessagesAtPriority6) {
  DebugLog("utils: [%s]\n", "text");
  EXPECT_EQ(script.log_calls(), Lines({"ortdv 6 utils: [text]\n"}));
}

TEST_F(Logging, SetsTheLogMaskBeforeItWrites) {
  UtilLogAll("all %s\n", "levels");
  EXPECT_EQ(script.log_calls(), Lines({"setlogmask 255", "ortdv 6 all levels\n"}));
}

TEST_F(Logging, LeavesTheLogMaskAloneElsewhere) {
  Log(3, "a");
  UtilLog("b");
  DaemonDebug("c");
  DebugLog("d");
  for (const std::string& call : script.log_calls()) {
    EXPECT_EQ(call.find("setlogmask"), std::string::npos) << call;
  }
}

TEST_F(Logging, DaemonDebugIsSilentWithoutItsFlag) {
  g_daemon_debug_flag = 0;
  DaemonDebug("hidden %d\n", 1);
  EXPECT_EQ(script.log_calls(), Lines());
}

TEST_F(Logging, DebugLogIsSilentWithoutItsFlagAndLooksForNoFile) {
  g_utilities_debug_flag = 0;
  DebugLog("utils: hidden\n");
  EXPECT_EQ(script.log_calls(), Lines());
  EXPECT_EQ(script.stats(), Lines());
}

TEST_F(Logging, DebugLogIsSilentWithoutAnyModuleFile) {
  script.no_file("/tmp/ortAll.text");
  DebugLog("utils: hidden\n");
  EXPECT_EQ(script.log_calls(), Lines());
}

TEST_F(Logging, ModulesAreSwitchedWhileItRuns) {
  script.no_file("/tmp/ortAll.text");
  DebugLog("utils: before\n");
  script.file("/tmp/utils.text", 1000);
  DebugLog("utils: between\n");
  script.no_file("/tmp/utils.text");
  DebugLog("utils: after\n");
  EXPECT_EQ(script.logs(), Lines({"6 utils: between\n"}));
}

TEST_F(Logging, FiltersTheFormattedMessageNotItsFormat) {
  script.no_file("/tmp/ortAll.text");
  script.file("/tmp/smbios.text");
  DebugLog("%s: record %d\n", "smbios", 4);
  DebugLog("record %d\n", 4);
  EXPECT_EQ(script.logs(), Lines({"6 smbios: record 4\n"}));
}

TEST_F(Logging, FiltersTheMessageAfterItWasCut) {
  script.no_file("/tmp/ortAll.text");
  script.file("/tmp/smbios.text");
  DebugLog("%s%s", std::string(505, 'x').c_str(), "smbios");
  DebugLog("%s%s", std::string(506, 'x').c_str(), "smbios");
  EXPECT_EQ(script.logs(), Lines({"6 " + std::string(505, 'x') + "smbios"}));
}

TEST_F(Logging, OnlyDebugLogAsksTheModuleFilter) {
  script.no_file("/tmp/ortAll.text");
  Log(3, "a");
  UtilLog("b");
  UtilLogAll("c");
  DaemonDebug("d");
  EXPECT_EQ(script.logs(), Lines({"3 a", "6 b", "6 c", "6 d"}));
  EXPECT_EQ(script.stats(), Lines());
}

TEST_F(Logging, WritesWithTheFlagsOff) {
  g_utilities_debug_flag = 0;
  g_daemon_debug_flag = 0;
  Log(3, "a");
  UtilLog("b");
  UtilLogAll("c");
  EXPECT_EQ(script.logs(), Lines({"3 a", "6 b", "6 c"}));
}

struct LogCall {
  const char* name;
  std::function<void(const char*)> write;  // through "%s"
};

class EveryLogCall : public Logging, public testing::WithParamInterface<LogCall> {
 protected:
  std::string written(const std::string& text) {
    GetParam().write(text.c_str());
    const Lines& logs = script.logs();
    return logs.size() == 1 ? logs[0] : "messages: " + std::to_string(logs.size());
  }
};

TEST_P(EveryLogCall, KeepsAMessageOf511Characters) {
  EXPECT_EQ(written(std::string(511, 'a')), "6 " + std::string(511, 'a'));
}

TEST_P(EveryLogCall, CutsAMessageOf600CharactersTo511) {
  EXPECT_EQ(written(std::string(600, 'a')), "6 " + std::string(511, 'a'));
}

TEST_P(EveryLogCall, ExpandsADoublePercentFromOutsideOnceMore) {
  EXPECT_EQ(written("100%% sure"), "6 100% sure");
}

TEST_P(EveryLogCall, ExpandsPercentMFromOutsideWithTheErrnoOfTheCaller) {
  errno = EBUSY;
  EXPECT_EQ(written("why: %m!"), "6 why: Device or resource busy!");
}

TEST_P(EveryLogCall, PrintsEveryConversionThatWouldFetchAnArgumentAsItIs) {
  const std::string text = "%n %s %d %*d %hhn %1$n %-08.3Lf %p %5% %z % %";
  EXPECT_EQ(written(text), "6 " + text);
}

TEST_P(EveryLogCall, PrintsATrailingPercentSign) {
  EXPECT_EQ(written("50%"), "6 50%");
}

TEST_P(EveryLogCall, PrintsAPercentSignThatTheCutLeftAtTheEnd) {
  EXPECT_EQ(written(std::string(510, 'a') + "%n"), "6 " + std::string(510, 'a') + "%");
}

TEST_P(EveryLogCall, PrintsAMessageOfNothingButPercentSigns) {
  EXPECT_EQ(written(std::string(511, '%')), "6 " + std::string(256, '%'));
}

TEST_P(EveryLogCall, DoesNotGrowAMessageByAWidth) {
  EXPECT_EQ(written("%999999999m"), "6 %999999999m");
}

TEST_P(EveryLogCall, WritesAnEmptyMessage) {
  EXPECT_EQ(written(""), "6 ");
}

TEST_P(EveryLogCall, LeavesErrnoAsItWas) {
  errno = EXDEV;
  written("x");
  EXPECT_EQ(errno, EXDEV);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, EveryLogCall,
    testing::Values(LogCall{"Log", [](const char* text) { Log(6, "%s", text); }},
                    LogCall{"UtilLog", [](const char* text) { UtilLog("%s", text); }},
                    LogCall{"UtilLogAll", [](const char* text) { UtilLogAll("%s", text); }},
                    LogCall{"DaemonDebug", [](const char* text) { DaemonDebug("%s", text); }},
                    LogCall{"DebugLog", [](const char* text) { DebugLog("%s", text); }}),
    [](const auto& call) { return call.param.name; });

TEST_F(Logging, WritesAsTheProgramWithoutACutOrASecondExpansion) {
  const std::string text(4080, 'r');
  log_as_program(1, "due to %s %s.\n", text.c_str(), "%m 100%%");
  EXPECT_EQ(script.log_calls(), Lines({"program 1 due to " + text + " %m 100%%.\n"}));
}

TEST_F(Logging, LeavesErrnoAsItWasWhenNothingIsWritten) {
  g_daemon_debug_flag = 0;
  script.no_file("/tmp/ortAll.text");
  errno = EXDEV;
  DaemonDebug("hidden\n");
  EXPECT_EQ(errno, EXDEV);
  DebugLog("filtered\n");
  EXPECT_EQ(errno, EXDEV);
}

}  // namespace
