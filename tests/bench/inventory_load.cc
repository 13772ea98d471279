// SPDX-License-Identifier: Apache-2.0
// inventory_load: what the inventory costs, beside dmidecode on the same table.
// Measures in a sandbox of its own, which ./bench --inventory makes; prints the
// table. Every figure is the CPU time, user and system, of one run of a program
// from its start to its end, without that of its children.
#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "lab/sim/simulator.h"
#include "tests/bench/inventory_tables.h"
#include "tests/bench/process.h"
#include "tests/bench/stations.h"
#include "tests/bench/statistics.h"

namespace {

enum ExitStatus { kDone = 0, kFailed = 1, kUsage = 2, kCannotMeasure = 3 };

constexpr const char* kDevice = "/vmfs/devices/char/mem/smbios";
constexpr const char* kDump = "/run/bench/table.dmidecode";

using Words = std::vector<std::string>;

struct Row {
  std::string name;
  Words words;
  // Also with the host's commands, its library and its BMC.
  bool whole_host = false;
  // What its output has once for each slot; "" when it does not have all of them.
  std::string slot_mark = ", type 9, ";
};

struct Table {
  std::string name;
  SmbiosTable table;
  std::vector<Row> rows;  // the first is what the others are compared with
};

struct Plan {
  int rounds = 0;
  int runs = 0;  // of each row a round
};

const std::map<std::string, Plan> kPlans = {
    {"full", {60, 10}}, {"quick", {15, 5}}, {"smoke", {1, 1}}};

const Row kDmidecode = {"dmidecode", {"dmidecode", "--from-dump", kDump}};
const Row kText = {"ortinv smbios", {"ortinv", "smbios"}};
const Row kJson = {"ortinv smbios --json", {"ortinv", "smbios", "--json"}};
const Row kDumpText = {"ortinv smbios -d FILE", {"ortinv", "smbios", "--from-dump", kDump}};
const Row kList = {
    "ortinv smbios --list", {"ortinv", "smbios", "--list"}, false, "  System Slots: "};
const Row kKeyword = {"ortinv smbios -s KEYWORD",
                      {"ortinv", "smbios", "--string", "system-serial-number"},
                      false,
                      ""};
const Row kScreen = {"ortinv", {"ortinv"}, true, ""};
const Row kAll = {"ortinv all", {"ortinv", "all"}, true};
const Row kAllJson = {"ortinv all --json", {"ortinv", "all", "--json"}, true};

std::vector<Table> tables() {
  constexpr size_t kSmall = 2560;
  return {
      {"a table of 2.5 KB",
       table_of_size(kSmall),
       {kDmidecode, kText, kJson, kDumpText, kList, kKeyword, kScreen, kAll, kAllJson}},
      {"a table of 64 KB",
       table_of_size(kLargestTable),
       {kDmidecode, kText, kJson, kDumpText, kList, kKeyword}},
      {"64 KB of slots", table_of_slots(), {kDmidecode, kText, kJson}},
      {"64 KB of PCI functions", table_of_pci_functions(), {kDmidecode, kText, kAll, kAllJson}}};
}

std::vector<char*> pointers(Words& words) {
  std::vector<char*> all;
  std::ranges::transform(words, std::back_inserter(all),
                         [](std::string& word) { return word.data(); });
  all.push_back(nullptr);
  return all;
}

Words environment_of(const Row& row) {
  Words environment = {"PATH=/sbin:/usr/sbin:/usr/bin:/bin", "LC_ALL=C"};
  if (row.whole_host) {
    environment.insert(environment.end(),
                       {"LD_LIBRARY_PATH=/run/lab/lib", "LD_PRELOAD=/run/lab/libmoxshim.so"});
  }
  return environment;
}

// Runs the row's program with its output in a file, which is empty before.
pid_t start(const Row& row, const std::string& output) {
  Words words = row.words;
  Words environment = environment_of(row);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  pid_t pid = -1;
  errno = posix_spawnp(&pid, words[0].c_str(), &actions, nullptr, pointers(words).data(),
                       pointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (errno != 0) {
    fail_with_errno("cannot start " + words[0]);
  }
  return pid;
}

// Runs it to its end and returns its own CPU time: the clock of a process that
// nobody has waited for yet still stands, and knows nothing of its children.
double run(const Row& row, const std::string& output = "/dev/null") {
  const pid_t pid = start(row, output);
  siginfo_t info = {};
  if (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) != 0) {
    fail_with_errno("cannot wait for " + row.name);
  }
  const double own = cpu_ns(pid);
  const int status = wait_for(pid);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw MeasurementFailed(row.name + " ended with status " + std::to_string(status));
  }
  return own;
}

void put(const SmbiosTable& table) {
  if (!write_file(kDevice, table.device_image()) || !write_file(kDump, table.dmidecode_dump())) {
    fail_with_errno("cannot write the table");
  }
}

void require(bool right, const std::string& what) {
  if (!right) {
    throw MeasurementFailed("that cannot be right: " + what);
  }
}

size_t count_of(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// What dmidecode found in the table.
struct Found {
  size_t slots = 0;
  size_t nics = 0;
};

void check_document(const std::string& text, const Row& row, const Found& found) {
  const auto document = nlohmann::json::parse(text);
  const auto slots = std::ranges::count_if(
      document.at("smbios"), [](const nlohmann::json& record) { return record.at("type") == 9; });
  require(static_cast<size_t>(slots) == found.slots, row.name + ": number of slots");
  // Each NIC has an address of its own.
  require(!row.whole_host || document.at("pci").size() >= found.nics,
          row.name + ": number of PCI functions");
}

// Sees that all programs read the same table, to its end.
void check_outputs(const Table& table) {
  const std::string output = std::string(kWorkFolder) + "/output";
  Found found;
  for (const Row& row : table.rows) {
    run(row, output);
    const std::string text = read_file(output);
    if (row.name == kDmidecode.name) {
      found = {count_of(text, "DMI type 9,"), count_of(text, "DMI type 233,")};
      require(found.slots + found.nics > 0, row.name + " found nothing in " + table.name);
    } else if (row.words.back() == "--json") {
      check_document(text, row, found);
    } else {
      require(row.slot_mark.empty() || count_of(text, row.slot_mark) == found.slots,
              row.name + ": number of slots");
      require(!text.empty(), row.name + " printed nothing");
    }
  }
}

// One figure a row and round, the mean of its runs in microseconds.
using Series = std::vector<double>;

std::vector<Series> measure(const Table& table, const Plan& plan) {
  std::vector<Series> all(table.rows.size());
  for (int round = 0; round < plan.rounds; ++round) {
    for (size_t i = 0; i < table.rows.size(); ++i) {
      // Each round begins with another row.
      const size_t turn = (i + static_cast<size_t>(round)) % table.rows.size();
      double sum = 0;
      for (int count = 0; count < plan.runs; ++count) {
        sum += run(table.rows[turn]);
      }
      all[turn].push_back(sum / plan.runs / 1e3);
    }
  }
  return all;
}

void print_table(const Table& table, const Plan& plan, const std::vector<Series>& all) {
  printf("%s, %zu bytes: medians of %d rounds of %d runs\n", table.name.c_str(),
         table.table.structures().size(), plan.rounds, plan.runs);
  printf("%-24s %10s %12s  %17s\n", "", "CPU us", "x dmidecode", "(quartiles)");
  for (size_t row = 0; row < all.size(); ++row) {
    Series ratios;
    std::ranges::transform(all[row], all.front(), std::back_inserter(ratios), std::divides<>());
    printf("%-24s %10.0f %12.2f  (%6.2f - %6.2f)\n", table.rows[row].name.c_str(), median(all[row]),
           median(ratios), quantile(ratios, 0.25), quantile(ratios, 0.75));
  }
  printf("\n");
  fflush(stdout);
}

// Answers for the whole host's BMC in a process of its own, until this one ends.
void start_bmc(Simulator& bmc) {
  if (const std::string error = bmc.open_channels(); !error.empty()) {
    throw MeasurementFailed(error);
  }
  const pid_t pid = fork();
  if (pid == -1) {
    fail_with_errno("cannot start the BMC");
  }
  if (pid == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) {
      bmc.step(-1);
      bmc.history.clear();
    }
  }
}

int run(int argc, char** argv) {
  CLI::App app("Measures what the inventory costs; to be run by ./bench --inventory");
  std::string mode = "full";
  app.add_option("--mode", mode, "how much is measured")
      ->check(CLI::IsMember({"full", "quick", "smoke"}));
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? kDone : kUsage;
  }
  if (!std::filesystem::exists(kDevice) || !std::filesystem::exists(kWorkFolder)) {
    fprintf(stderr, "inventory_load: not in a sandbox: run ./bench --inventory\n");
    return kCannotMeasure;
  }
  const Plan& plan = kPlans.at(mode);
  Simulator bmc;
  start_bmc(bmc);
  const std::string load = read_file("/proc/loadavg");
  printf("One run of each program, its output to /dev/null\n\n");
  for (const Table& table : tables()) {
    put(table.table);
    check_outputs(table);
    print_table(table, plan, measure(table, plan));
  }
  printf("Trust: load average %s at the start; the rows take turns, ratios of one round\n",
         load.substr(0, load.find(' ')).c_str());
  printf("hold more than microseconds of two runs.\n");
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    fprintf(stderr, "inventory_load: %s\n", error.what());
    return kFailed;
  }
}
