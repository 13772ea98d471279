// SPDX-License-Identifier: Apache-2.0
#include "ortinv/memory_info.h"

#include <gtest/gtest.h>
#include <sys/sysinfo.h>

#include <cerrno>
#include <string>

#include "tests/unit/hostinfo/debug_log.h"

namespace {

constexpr const char* kPhysical = "vsish -e get /memory/comprehensive";
constexpr const char* kVirtual = "vsish -e cat /sched/globalStats/memory/memStats | grep memory";

// What sysinfo says, when it is not asked for real.
long g_uptime;
bool g_sysinfo_fails;

void expect_commands(CallScript& script, const std::string& physical,
                     const std::string& virtual_memory) {
  script.popen(kPhysical).prints(physical);
  script.pclose(kPhysical);
  script.popen(kVirtual).prints(virtual_memory);
  script.pclose(kVirtual);
}

HostMemInfo read_info(const std::string& physical, const std::string& virtual_memory) {
  DebuggedScript script;
  expect_commands(script, physical, virtual_memory);
  HostMemInfo info = {-1, -1, -1, -1};
  update_mem_info(&info);
  return info;
}

TEST(MemoryInfoTest, ReadsTheFourFiguresInMegabytes) {
  DebuggedScript script;
  expect_commands(script,
                  "Comprehensive {\n"
                  "   Physical memory estimate:67004344 KB\n"
                  "   Given to VMKernel:67004344 KB\n"
                  "   Free:60125812 KB\n"
                  "}\n",
                  "   reserved-memory:2097152 KB\n"
                  "   available-memory:58720256 KB\n");
  HostMemInfo info = {};
  update_mem_info(&info);
  EXPECT_EQ(info.total_physical, 65433);
  EXPECT_EQ(info.free_physical, 58716);
  EXPECT_EQ(info.total_virtual, 2048);
  EXPECT_EQ(info.free_virtual, 57344);
  EXPECT_EQ(script.logs(), Lines({"6 talHostMem: total Phys Mem in KB [67004344]\n",
                                  "6 talHostMem: Free Phys Mem in KB  [60125812]\n",
                                  "6 talHostMem: total Virtual Mem in KB [2097152]\n",
                                  "6 talHostMem: Free Virtual Mem in KB  [58720256]\n"}));
}

TEST(MemoryInfoTest, RoundsTowardZero) {
  EXPECT_EQ(read_info("   Physical memory estimate:2047 KB\n", "").total_physical, 1);
  EXPECT_EQ(read_info("   Physical memory estimate:2048 KB\n", "").total_physical, 2);
  EXPECT_EQ(read_info("   Free:-2047 KB\n", "").free_physical, -1);
}

TEST(MemoryInfoTest, ReadsTheLargest32BitNumber) {
  EXPECT_EQ(read_info("   Physical memory estimate:2147483647 KB\n", "").total_physical, 2097151);
}

TEST(MemoryInfoTest, GivesZeroForAFigureThatIsNotPrinted) {
  const HostMemInfo info = read_info("   Physical memory estimate:4096 KB\n", "");
  EXPECT_EQ(info.total_physical, 4);
  EXPECT_EQ(info.free_physical, 0);
  EXPECT_EQ(info.total_virtual, 0);
  EXPECT_EQ(info.free_virtual, 0);
}

TEST(MemoryInfoTest, LetsALaterFreeLineWin) {
  EXPECT_EQ(read_info("   Free:1024 KB\n   Free:3072 KB\n", "").free_physical, 3);
}

TEST(MemoryInfoTest, TakesBlanksOrNoneBeforeALabelAndBeforeItsNumber) {
  const HostMemInfo info =
      read_info("Physical memory estimate:  1024\n", "\t reserved-memory:\t2048\n");
  EXPECT_EQ(info.total_physical, 1);
  EXPECT_EQ(info.total_virtual, 2);
}

TEST(MemoryInfoTest, LeavesTheCounterWhereTheNumberDoesNotParse) {
  DebuggedScript script;
  expect_commands(script, "   Free:1024 KB\n   Low Free:9999 KB\n   Free:lots\n",
                  "   available-memory:\n");
  HostMemInfo info = {};
  update_mem_info(&info);
  EXPECT_EQ(info.free_physical, 1);
  EXPECT_EQ(info.free_virtual, 0);
  EXPECT_EQ(script.logs(), Lines({"6 talHostMem: Free Phys Mem in KB  [1024]\n",
                                  "6 talHostMem: Free Phys Mem in KB  [1024]\n",
                                  "6 talHostMem: Free Phys Mem in KB  [1024]\n",
                                  "6 talHostMem: Free Virtual Mem in KB  [0]\n"}));
}

TEST(MemoryInfoTest, IsNotConfusedByRubbish) {
  std::string rubbish(5000, '\xFF');
  rubbish += std::string("\0\0Free:\n\n\n", 10) + std::string(1023, ' ') + "Free:7168\n";
  EXPECT_EQ(read_info(rubbish, std::string(100, '\0')).free_physical, 7);
}

TEST(MemoryInfoTest, KeepsTheRecordWhenTheFirstCommandCannotBeStarted) {
  DebuggedScript script;
  script.popen(kPhysical).fails(ENOMEM);
  HostMemInfo info = {1, 2, 3, 4};
  update_mem_info(&info);
  EXPECT_EQ(info.total_physical, 1);
  EXPECT_EQ(info.free_virtual, 4);
  EXPECT_EQ(script.logs(), Lines({"6 talHostMem: update_mem_info(): vsish command FAILED!.\n"}));
}

TEST(MemoryInfoTest, KeepsTheWholeRecordWhenOnlyTheSecondCommandCannotBeStarted) {
  DebuggedScript script;
  script.popen(kPhysical).prints("   Physical memory estimate:4096 KB\n   Free:2048 KB\n");
  script.pclose(kPhysical);
  script.popen(kVirtual).fails(ENOMEM);
  HostMemInfo info = {10, 20, 30, 40};
  update_mem_info(&info);
  EXPECT_EQ(info.total_physical, 10);
  EXPECT_EQ(info.free_physical, 20);
  EXPECT_EQ(info.total_virtual, 30);
  EXPECT_EQ(info.free_virtual, 40);
  EXPECT_EQ(script.logs().back(), "6 talHostMem: update_mem_info(): vsish command FAILED!.\n");
}

TEST(MemoryInfoTest, RunsNothingWithoutARecord) {
  const DebuggedScript script;
  update_mem_info(nullptr);
  EXPECT_TRUE(script.logs().empty());
}

TEST(HostUptimeTest, GivesTheSecondsSinceBoot) {
  g_uptime = 432001;
  g_sysinfo_fails = false;
  EXPECT_EQ(HostUptime(), 432001);
}

TEST(HostUptimeTest, GivesZeroOnAFailure) {
  g_uptime = 432001;
  g_sysinfo_fails = true;
  EXPECT_EQ(HostUptime(), 0);
}

}  // namespace

extern "C" int __wrap_sysinfo(struct sysinfo* info);
int __wrap_sysinfo(struct sysinfo* info) {
  info->uptime = g_uptime;
  return g_sysinfo_fails ? -1 : 0;
}
