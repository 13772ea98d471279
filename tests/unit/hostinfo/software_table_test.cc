// SPDX-License-Identifier: Apache-2.0
#include "ortinv/software_table.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/hostinfo/debug_log.h"

extern "C" {
using DirectoryFilter = int (*)(const dirent*);
using DirectoryOrder = int (*)(const dirent**, const dirent**);
void __real_free(void* memory);
void __wrap_free(void* memory);
int __real_scandir(const char* directory, dirent*** entries, DirectoryFilter filter,
                   DirectoryOrder order);
int __wrap_scandir(const char* directory, dirent*** entries, DirectoryFilter filter,
                   DirectoryOrder order);
}

namespace {

constexpr const char* kBulletins = "/var/db/esximg/bulletins/";
constexpr int kOpenFlags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;

// Stands in for the image database's directory; empty: it is not there.
std::string g_image_database;

// The array that the last listing handed out, until it is freed.
dirent** g_listing;

// What the library is to ask for.
std::string g_expected_directory = kBulletins;

std::string component_text(const std::string& name) {
  return "<component>\n<componentNameSpec name=\"" + name + "\"/>\n</component>\n";
}

std::string bulletin_text(const std::string& name) {
  return "<bulletin>\n<name>" + name + "</name>\n</bulletin>\n";
}

// A directory of description files, and a listing of it.
class SoftwareTableTest : public testing::Test {
 protected:
  SoftwareTableTest() {
    std::string name = testing::TempDir() + "software_XXXXXX";
    directory_ = std::string(mkdtemp(name.data())) + "/";
  }

  ~SoftwareTableTest() override {
    SwDestroyTable();
    g_image_database.clear();
    std::filesystem::remove_all(directory_);
  }

  void add_file(const std::string& name, const std::string& text) const {
    std::ofstream(directory_ + name, std::ios::binary) << text;
  }

  using Parser = int (*)(dirent**, int, SwInstalledRec*, const char*);

  // Runs a parser over the directory into one record an entry.
  std::vector<SwInstalledRec> parse(Parser parser) const {
    dirent** entries = nullptr;
    const int count = __real_scandir(directory_.c_str(), &entries, nullptr, alphasort);
    std::vector<SwInstalledRec> records(static_cast<size_t>(count));
    EXPECT_EQ(parser(entries, count, records.data(), directory_.c_str()), 0);
    for (int i = 0; i < count; ++i) {
      free(entries[i]);
    }
    free(entries);
    return records;
  }

  // Makes the directory the image database and expects its build to open these
  // files, in this order.
  void expect_build(CallScript& script, std::initializer_list<std::string> names) const {
    g_image_database = directory_;
    for (const std::string& name : names) {
      // openat is not one of the script's calls.
      const int fd = openat(AT_FDCWD, (directory_ + name).c_str(), O_RDONLY | O_CLOEXEC);
      script.open(kBulletins + name, kOpenFlags).returns(fd);
    }
  }

  std::string directory_;
};

std::vector<std::string> names_of(const std::vector<SwInstalledRec>& records) {
  std::vector<std::string> names;
  for (const SwInstalledRec& record : records) {
    names.emplace_back(record.name);
  }
  return names;
}

std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

using Names = std::vector<std::string>;

TEST_F(SoftwareTableTest, ComponentsSkipHiddenAndUnstableFiles) {
  add_file(".hidden.xml", component_text("hidden"));
  add_file("a.xml", component_text("a"));
  add_file("b-unstable.xml", component_text("b"));
  add_file("c.orig", component_text("c"));
  EXPECT_EQ(names_of(parse(SwParseComponents)), Names({"a", "c", "", "", "", ""}));
  EXPECT_EQ(SwInstalledCount(), 2U);
}

TEST_F(SoftwareTableTest, ComponentsSkipAnUnstableDirectory) {
  const std::string parent = directory_;
  directory_ += "unstable/";
  std::filesystem::create_directory(directory_);
  add_file("a.xml", component_text("a"));
  add_file("b.xml", bulletin_text("b"));
  EXPECT_EQ(names_of(parse(SwParseComponents)), Names({"", "", "", ""}));
  EXPECT_EQ(names_of(parse(SwParseBulletins)), Names({"", "b", "", ""}));
  directory_ = parent;
}

TEST_F(SoftwareTableTest, BulletinsSkipHiddenFilesSignaturesAndKeptCopies) {
  add_file(".hidden", bulletin_text("hidden"));
  add_file("original.xml", bulletin_text("original"));
  add_file("pkg", bulletin_text("pkg"));
  add_file("pkg.orig", bulletin_text("copy"));
  add_file("pkg.sig", bulletin_text("signature"));
  add_file("unstable.xml", bulletin_text("unstable"));
  const Names names = names_of(parse(SwParseBulletins));
  EXPECT_EQ(Names(names.begin(), names.begin() + 3), Names({"pkg", "unstable", ""}));
}

TEST_F(SoftwareTableTest, EveryFileTakesARecordAlsoWhenNothingMatches) {
  add_file("a.xml", "");
  add_file("b.xml", std::string("\0\1\2\xFF<vendor>\0</vendor>", 22));
  add_file("c.xml", component_text("c"));
  EXPECT_EQ(names_of(parse(SwParseComponents)), Names({"", "", "c", "", ""}));
  EXPECT_EQ(SwInstalledCount(), 3U);
}

TEST_F(SoftwareTableTest, WhatIsNoReadableFileIsSkippedWithoutBlocking) {
  std::filesystem::create_directory(directory_ + "a.xml");
  ASSERT_EQ(mkfifo((directory_ + "b.xml").c_str(), 0600), 0);
  std::filesystem::create_symlink("nowhere", directory_ + "c.xml");
  add_file("d.xml", component_text("d"));
  const std::ptrdiff_t open_before = open_descriptors();
  EXPECT_EQ(names_of(parse(SwParseComponents)), Names({"d", "", "", "", "", ""}));
  EXPECT_EQ(open_descriptors(), open_before);
}

TEST_F(SoftwareTableTest, LinesAreReadInPiecesOf4095Characters) {
  const std::string element = "<vendor>VMware</vendor>";
  add_file("a.xml", std::string(4095 - element.size(), ' ') + element + "\n");
  add_file("b.xml", std::string(4095 - element.size() + 1, ' ') + element + "\n");
  add_file("c.xml", std::string(3 * 4095, ' ') + element + "\n");
  const std::vector<SwInstalledRec> records = parse(SwParseComponents);
  EXPECT_STREQ(records[0].vendor, "VMware");
  EXPECT_STREQ(records[1].vendor, "");
  EXPECT_STREQ(records[2].vendor, "VMware");
}

TEST_F(SoftwareTableTest, AHugeFileIsReadToItsEnd) {
  add_file("a.xml", std::string(3 << 20, '<') + "\n" + component_text("last"));
  EXPECT_STREQ(parse(SwParseComponents)[0].name, "last");
}

TEST_F(SoftwareTableTest, ParsersDoNothingWithoutRecordsOrEntries) {
  SwInstalledRec record = {};
  dirent entry = {};
  dirent* entries[] = {&entry};
  for (const auto parser : {SwParseComponents, SwParseBulletins}) {
    EXPECT_EQ(parser(entries, 1, nullptr, "/"), 0);
    EXPECT_EQ(parser(entries, 0, &record, "/"), 0);
    EXPECT_EQ(parser(entries, -1, &record, "/"), 0);
  }
  EXPECT_EQ(SwInstalledCount(), 0U);
}

TEST_F(SoftwareTableTest, APathIsCutAfter255Characters) {
  std::string parent = directory_;
  while (parent.size() < 256) {
    parent += "d/";
  }
  dirent entry = {};
  strcpy(entry.d_name, "unstable.xml");
  dirent* entries[] = {&entry};
  SwInstalledRec record = {};
  DebuggedScript script;
  script.open(parent.substr(0, 255), kOpenFlags).fails(ENOENT);
  EXPECT_EQ(SwParseComponents(entries, 1, &record, parent.c_str()), 0);
}

TEST_F(SoftwareTableTest, TheBuildHasOneSlotForEachDirectoryEntry) {
  add_file("a.xml", component_text("a"));
  add_file("unstable.xml", component_text("b"));
  DebuggedScript script;
  expect_build(script, {"a.xml"});
  uint32_t count = 99;
  const SwInstalledRec* table = get_software_installed_table(&count);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(count, 1U);
  EXPECT_STREQ(table[0].name, "a");
  for (int skipped = 1; skipped < 4; ++skipped) {
    EXPECT_STREQ(table[skipped].name, "");
  }
  EXPECT_EQ(script.logs(), Lines({"6 swCount [4]. Allocating mem...\n"}));
  EXPECT_EQ(g_listing, nullptr) << "the listing is not released";
}

TEST_F(SoftwareTableTest, ARebuildReplacesTheTable) {
  add_file("a.xml", component_text("a"));
  add_file("b.xml", component_text("b"));
  SwInstalledRec record = {};
  {
    DebuggedScript script;
    expect_build(script, {"a.xml", "b.xml"});
    init_sw_installed_table();
  }
  EXPECT_EQ(SwInstalledCount(), 2U);
  EXPECT_EQ(SwFindInstalled("a", &record), 1);
  std::filesystem::remove(directory_ + "a.xml");
  {
    DebuggedScript script;
    expect_build(script, {"b.xml"});
    get_software_installed_table(nullptr);
  }
  EXPECT_EQ(SwInstalledCount(), 1U);
  EXPECT_EQ(SwFindInstalled("a", &record), 0);
  EXPECT_EQ(SwFindInstalled("b", &record), 1);
}

TEST_F(SoftwareTableTest, AMissingDirectoryGivesNoTableAndALogLine) {
  const DebuggedScript script;
  init_sw_installed_table();
  EXPECT_EQ(script.logs(), Lines({"6  init_sw_installed_table(): get_software_installed_table() "
                                  "returned NULL table.\n"}));
  SwInstalledRec record = {};
  EXPECT_EQ(SwFindInstalled("a", &record), 0);
}

TEST_F(SoftwareTableTest, ADirectoryThatVanishesLeavesNoOldTable) {
  add_file("a.xml", component_text("a"));
  DebuggedScript script;
  expect_build(script, {"a.xml"});
  get_software_installed_table(nullptr);
  g_image_database.clear();
  uint32_t count = 99;
  EXPECT_EQ(get_software_installed_table(&count), nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(SoftwareTableTest, AnotherDirectoryCanBeSet) {
  const std::string usual = ortinv_image_database();
  EXPECT_EQ(usual, kBulletins);
  add_file("a.xml", component_text("a"));
  const std::string without_slash = directory_.substr(0, directory_.size() - 1);
  EXPECT_EQ(ortinv_set_image_database(without_slash.c_str()), 0);
  EXPECT_EQ(ortinv_image_database(), directory_);
  EXPECT_EQ(ortinv_set_image_database(directory_.c_str()), 0);
  EXPECT_EQ(ortinv_image_database(), directory_);
  g_expected_directory = directory_;
  g_image_database = directory_;
  uint32_t count = 0;
  ASSERT_NE(get_software_installed_table(&count), nullptr);
  EXPECT_EQ(count, 1U);
  g_expected_directory = kBulletins;
  EXPECT_EQ(ortinv_set_image_database(nullptr), 0);
  EXPECT_EQ(ortinv_image_database(), usual);
}

TEST_F(SoftwareTableTest, ADirectoryThatDoesNotFitIsNotSet) {
  EXPECT_EQ(ortinv_set_image_database(""), -1);
  EXPECT_EQ(ortinv_set_image_database(std::string(255, 'd').c_str()), -1);
  EXPECT_EQ(ortinv_set_image_database((std::string(255, 'd') + "/").c_str()), -1);
  EXPECT_STREQ(ortinv_image_database(), kBulletins);
  EXPECT_EQ(ortinv_set_image_database(std::string(254, 'd').c_str()), 0);
  EXPECT_EQ(ortinv_image_database(), std::string(254, 'd') + "/");
  EXPECT_EQ(ortinv_set_image_database(nullptr), 0);
}

TEST_F(SoftwareTableTest, BulletinsAreListedBesideTheTable) {
  add_file("a.xml", component_text("a"));
  add_file("b.xml", bulletin_text("b"));
  add_file("c.sig", bulletin_text("c"));
  SwInstalledRec* records = nullptr;
  uint32_t count = 99;
  DebuggedScript script;
  expect_build(script, {"a.xml", "b.xml"});
  EXPECT_EQ(SwListBulletins(&records, &count), 0);
  ASSERT_EQ(count, 2U);
  EXPECT_STREQ(records[0].name, "");
  EXPECT_STREQ(records[1].name, "b");
  free(records);
  EXPECT_EQ(SwInstalledCount(), 0U);
  EXPECT_EQ(g_listing, nullptr) << "the listing is not released";
}

TEST_F(SoftwareTableTest, NoBulletinsAreNoFailure) {
  add_file("c.sig", bulletin_text("c"));
  auto* records = reinterpret_cast<SwInstalledRec*>(this);
  uint32_t count = 99;
  DebuggedScript script;
  expect_build(script, {});
  EXPECT_EQ(SwListBulletins(&records, &count), 0);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(SwListBulletins(nullptr, &count), -1);
  EXPECT_EQ(SwListBulletins(&records, nullptr), -1);
}

TEST_F(SoftwareTableTest, BulletinsOfAMissingDirectoryAreAFailure) {
  auto* records = reinterpret_cast<SwInstalledRec*>(this);
  uint32_t count = 99;
  EXPECT_EQ(SwListBulletins(&records, &count), -1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(SoftwareTableTest, BulletinsWithoutMemoryAreAFailure) {
  add_file("b.xml", bulletin_text("b"));
  SwInstalledRec* records = nullptr;
  uint32_t count = 99;
  DebuggedScript script;
  expect_build(script, {});
  script.fail_calloc(1);
  EXPECT_EQ(SwListBulletins(&records, &count), -1);
  EXPECT_EQ(records, nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(SoftwareTableTest, NoMemoryGivesNoTable) {
  add_file("a.xml", component_text("a"));
  DebuggedScript script;
  expect_build(script, {});
  script.fail_calloc(1);
  uint32_t count = 99;
  EXPECT_EQ(get_software_installed_table(&count), nullptr);
  EXPECT_EQ(count, 0U);
}

TEST_F(SoftwareTableTest, LookUpTakesTheFirstRecordOfExactlyThatName) {
  add_file("a.xml", component_text("pkg") + "<vendor>first</vendor>\n");
  add_file("b.xml", component_text("pkg") + "<vendor>second</vendor>\n");
  {
    DebuggedScript script;
    expect_build(script, {"a.xml", "b.xml"});
    init_sw_installed_table();
  }
  SwInstalledRec record = {};
  EXPECT_EQ(SwFindInstalled("pkg", &record), 1);
  EXPECT_STREQ(record.vendor, "first");
  EXPECT_EQ(SwFindInstalled("PKG", &record), 0);
  EXPECT_EQ(SwFindInstalled("pk", &record), 0);
  EXPECT_EQ(SwFindInstalled("", &record), 0);
  EXPECT_EQ(SwFindInstalled(nullptr, &record), 0);
  EXPECT_EQ(SwFindInstalled("pkg", nullptr), 0);
}

TEST_F(SoftwareTableTest, LookUpStaysInsideTheTableWhenAParserCountedMore) {
  add_file("a.xml", component_text("a"));
  {
    DebuggedScript script;
    expect_build(script, {"a.xml"});
    init_sw_installed_table();
  }
  for (int i = 0; i < 100; ++i) {
    parse(SwParseBulletins);
  }
  EXPECT_EQ(SwInstalledCount(), 101U);
  SwInstalledRec record = {};
  EXPECT_EQ(SwFindInstalled("b", &record), 0);
}

TEST_F(SoftwareTableTest, ReleasingEmptiesTheTable) {
  add_file("a.xml", component_text("a"));
  DebuggedScript script;
  expect_build(script, {"a.xml"});
  init_sw_installed_table();
  SwFreeTable();
  SwFreeTable();
  EXPECT_EQ(SwInstalledCount(), 0U);
  SwInstalledRec record = {};
  EXPECT_EQ(SwFindInstalled("a", &record), 0);
}

TEST_F(SoftwareTableTest, CanBeDestroyedTwiceAndCreatedAgain) {
  add_file("a.xml", component_text("a"));
  EXPECT_EQ(SwDestroyTable(), 0);
  for (int round = 0; round < 2; ++round) {
    DebuggedScript script;
    expect_build(script, {"a.xml"});
    init_sw_installed_table();
    SwInstalledRec record = {};
    EXPECT_EQ(SwFindInstalled("a", &record), 1);
    EXPECT_EQ(SwDestroyTable(), 0);
    EXPECT_EQ(SwDestroyTable(), 0);
  }
}

TEST_F(SoftwareTableTest, ManyThreadsCanLookUpAtOnce) {
  add_file("a.xml", component_text("a"));
  {
    DebuggedScript script;
    expect_build(script, {"a.xml"});
    init_sw_installed_table();
  }
  std::vector<std::thread> threads;
  std::array<int, 4> found = {};
  for (int& result : found) {
    threads.emplace_back([&result] {
      SwInstalledRec record = {};
      for (int i = 0; i < 1000; ++i) {
        result += SwFindInstalled("a", &record);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(found, (std::array<int, 4>{1000, 1000, 1000, 1000}));
}

}  // namespace

int __wrap_scandir(const char* directory, dirent*** entries, DirectoryFilter filter,
                   DirectoryOrder order) {
  EXPECT_EQ(directory, g_expected_directory);
  EXPECT_EQ(order, &alphasort);
  if (g_image_database.empty()) {
    errno = ENOENT;
    return -1;
  }
  const int count = __real_scandir(g_image_database.c_str(), entries, filter, order);
  g_listing = *entries;
  return count;
}

void __wrap_free(void* memory) {
  if (memory == g_listing) {
    g_listing = nullptr;
  }
  __real_free(memory);
}
