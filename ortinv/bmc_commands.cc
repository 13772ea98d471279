// SPDX-License-Identifier: Apache-2.0
#include "ortinv/bmc_commands.h"

#include <fcntl.h>
#include <ortinv/entity_mib.h>
#include <ortinv/interval.h>
#include <ortinv/network_address.h>
#include <ortinv/rev_mode.h>
#include <ortinv/variables.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ortinv/bounded_query.h"
#include "ortinv/choices.h"
#include "ortinv/number.h"

namespace {

constexpr const char* kBmc = "BMC";
constexpr const char* kFirstNode = "/vmfs/devices/char/vmkdriver/zemox-d0ccb0";
constexpr const char* kNoAddress = "0.0.0.0";

using AddressText = std::array<char, kBmcAddressSize>;

void add_no_channel(Report& report) {
  if (access(kFirstNode, F_OK) != 0) {
    report.add_problem(kBmc, std::string("no driver node ") + kFirstNode +
                                 "; run ortinv on the host, with the BMC's driver loaded");
  } else {
    report.add_problem(kBmc,
                       "no channel could be opened; run ortinv as root, and again when "
                       "other users of the BMC have closed theirs");
  }
}

void add_no_answer(Report& report) {
  report.add_problem(kBmc, "does not answer; check its health, and reset it if need be");
}

// A variable of the BMC, and what it holds: null when it is not there, or when
// that is not known.
struct Variable {
  const char* name;
  bool is_known;  // whether it is there or not; there is a problem when not
  Json value;
};

// Adds a problem when it stays unknown whether there is such a variable.
Variable read_variable(const char* name, uint16_t size, Report& report) {
  std::array<uint8_t, sizeof(uint32_t)> bytes = {};
  uint8_t status = 0;
  uint32_t value = 0;
  switch (ortinv_read_variable(name, bytes.data(), size, nullptr, &status)) {
    case kOrtinvReadThere:
      for (size_t i = 0; i < bytes.size(); ++i) {
        value |= static_cast<uint32_t>(bytes[i]) << 8 * i;
      }
      return {name, true, value};
    case kOrtinvReadMissing:
      return {name, true, {}};
    case kOrtinvReadRefused:
      report.add_problem(kBmc, std::string("refuses variable ") + name + " with status " +
                                   std::to_string(status) + "; check its firmware");
      break;
    case kOrtinvReadNoChannel:
      add_no_channel(report);
      break;
    default:
      add_no_answer(report);
      break;
  }
  return {name, false, {}};
}

// What the BMC says of its addresses, each family for itself.
struct Addresses {
  int ipv4_result = -1;
  int ipv6_result = -1;
  AddressText ipv4 = {};
  AddressText ipv6 = {};
  int ipv6_enabled = -1;
  int ipv4_enabled = -1;

  bool has_ipv4() const { return ipv4_result == 0 && strcmp(ipv4.data(), kNoAddress) != 0; }
  bool has_ipv6() const { return ipv6_result == 0 && ipv6[0] != '\0'; }
};

void add_no_answer_for(const char* family, Report& report) {
  report.add_problem(kBmc, std::string("does not answer for ") + family +
                               "; check its health, and reset it if need be");
}

// Adds what is wrong, in one line where it is the same for both.
void add_address_problems(const Addresses& addresses, Report& report) {
  const int ipv4 = addresses.ipv4_result;
  const int ipv6 = addresses.ipv6_result;
  if (ipv4 == 1 || ipv6 == 1) {
    add_no_channel(report);
  }
  if (ipv4 != 0 && ipv4 != 1 && ipv6 != 0 && ipv6 != 1) {
    add_no_answer(report);
  } else if (ipv4 != 0 && ipv4 != 1) {
    add_no_answer_for("IPv4", report);
  } else if (ipv6 != 0 && ipv6 != 1) {
    add_no_answer_for("IPv6", report);
  }
}

Addresses read_addresses() {
  Addresses addresses;
  addresses.ipv4_result = get_Mox_IPv4(addresses.ipv4.data());
  addresses.ipv6_result =
      get_Mox_IPv6(addresses.ipv6.data(), &addresses.ipv6_enabled, &addresses.ipv4_enabled);
  return addresses;
}

Json flag_or_null(int flag) {
  return flag == -1 ? Json() : Json(flag != 0);
}

// Shows a variable, after writing it when there is a new value. Writing goes on to
// show what was written, or nothing after a failure.
Json show_variable(const Variable& variable, const std::string& what, std::optional<uint32_t> after,
                   const std::function<int(uint32_t)>& write, Report& report) {
  if (!after.has_value() || !variable.is_known) {
    if (variable.is_known && variable.value.is_null()) {
      report.missing = std::string("the BMC has no variable ") + variable.name;
    }
    return variable.value;
  }
  if (write(*after) != 0) {
    report.add_problem(
        kBmc, std::string("did not take the new value of ") + variable.name + "; try again");
    return {};
  }
  report.add_change(what, variable.value, *after);
  return *after;
}

// The address in the registration file, or null without a file or an address.
// Whatever else lies there, a little of it is enough, and a pipe must not hold
// us up.
Json registered_address() {
  constexpr std::string_view kTag = "<TAddress>";
  std::array<char, 4096> content = {};
  const int fd = open(ortinv_entity_mib_path(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd == -1) {
    return {};
  }
  const ssize_t length = read(fd, content.data(), content.size());
  close(fd);
  std::string_view text(content.data(), length > 0 ? static_cast<size_t>(length) : 0);
  const size_t start = text.find(kTag);
  const size_t end = text.find("</TAddress>", start);
  if (start == std::string_view::npos || end == std::string_view::npos) {
    return {};
  }
  text = text.substr(0, end);
  text.remove_prefix(start + kTag.size());
  return std::string(text);
}

// Returns whether there is an address to register: the library would write an
// empty one and call that a success.
bool check_addresses(Report& report) {
  const Addresses addresses = read_addresses();
  if (addresses.ipv4_result != 0) {
    add_address_problems(addresses, report);
    return false;
  }
  // As the library decides which of the two it takes.
  if (strstr(addresses.ipv4.data(), kNoAddress) == nullptr) {
    return true;
  }
  if (addresses.ipv6_result != 0) {
    add_address_problems(addresses, report);
    return false;
  }
  if (!addresses.has_ipv6()) {
    report.missing = "the BMC has no address to register";
  }
  return addresses.has_ipv6();
}

bool can_be_written(const char* path) {
  const int fd = open(path, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd != -1) {
    close(fd);
  }
  return fd != -1;
}

void write_registration(Report& report) {
  if (!check_addresses(report)) {
    return;
  }
  const char* path = ortinv_entity_mib_path();
  const Json before = registered_address();
  if (update_ent_mib_xml() != 0) {
    if (can_be_written(path)) {
      add_no_answer(report);  // the library has asked it again
    } else {
      report.add_problem(path,
                         "could not be created; run ortinv as root, and create its directory");
    }
    return;
  }
  const Json after = registered_address();
  if (after.is_null()) {
    report.add_problem(path, "could not be written; check the free space");
  } else {
    report.add_change(path, before, after);
  }
}

void show_mode(std::optional<bool> enabled, Report& report) {
  const Variable variable = read_variable(ortinv_mode_variable(), kOrtinvModeSize, report);
  const Json value = show_variable(
      variable, "bmc mode",
      enabled.has_value() ? std::optional<uint32_t>(*enabled ? 1 : 0) : std::nullopt,
      [](uint32_t mode) { return setRevModeConfig(static_cast<uint8_t>(mode)); }, report);
  report.document["bmc"]["mode"] =
      value.is_null()
          ? Json()
          : Json{{"variable", variable.name}, {"value", value}, {"enabled", value != 0}};
}

void show_interval(int selector, std::optional<uint32_t> new_value, Report& report) {
  const Variable variable =
      read_variable(ortinv_interval_variable(selector), kOrtinvIntervalSize, report);
  const Json value = show_variable(
      variable, "bmc interval " + std::to_string(selector), new_value,
      [selector](uint32_t interval) { return setIntervalEV(selector, interval); }, report);
  Json& intervals = report.document["bmc"]["intervals"];
  if (intervals.is_null()) {
    intervals = Json::array();
  }
  if (!value.is_null()) {
    intervals.push_back({{"selector", selector}, {"variable", variable.name}, {"value", value}});
  }
}

void show_addresses(Report& report) {
  const Addresses addresses = read_addresses();
  add_address_problems(addresses, report);
  Json& address = report.document["bmc"]["address"];
  if (addresses.ipv4_result != 0 && addresses.ipv6_result != 0) {
    address = nullptr;
    return;
  }
  address = {{"ipv4", addresses.has_ipv4() ? Json(addresses.ipv4.data()) : Json()},
             {"ipv6", addresses.has_ipv6() ? Json(addresses.ipv6.data()) : Json()},
             {"ipv4_enabled", flag_or_null(addresses.ipv4_enabled)},
             {"ipv6_enabled", flag_or_null(addresses.ipv6_enabled)}};
  if (report.problems.empty() && !addresses.has_ipv4() && !addresses.has_ipv6()) {
    report.missing = "the BMC has no address";
  }
}

void show_registration(bool write, Report& report) {
  if (write) {
    write_registration(report);
  }
  const Json address = registered_address();
  report.document["entity_mib"] = {{"file", ortinv_entity_mib_path()}, {"address", address}};
  if (address.is_null() && report.missing.empty()) {
    report.missing = std::string("no registration in ") + ortinv_entity_mib_path();
  }
}

}  // namespace

Words mode_choices() {
  return {"on", "off"};
}

Words selector_choices() {
  Words selectors;
  for (uint32_t i = 0; ortinv_interval_selector(i) != -1; ++i) {
    selectors.push_back(std::to_string(ortinv_interval_selector(i)));
  }
  return selectors;
}

void report_bmc_address(const Request& /*request*/, Report& report) {
  report.document["bmc"]["address"] = nullptr;
  ask_in_time(kBmc, report, show_addresses);
}

void report_bmc_mode(const Request& request, Report& report) {
  const std::optional<bool> enabled =
      request.mode.empty() ? std::nullopt : std::optional<bool>(request.mode == "on");
  report.document["bmc"]["mode"] = nullptr;
  ask_in_time(kBmc, report, [&](Report& answer) { show_mode(enabled, answer); });
}

void report_bmc_interval(const Request& request, Report& report) {
  const auto selector = static_cast<int>(decimal_number(request.selector, INT32_MAX).value_or(0));
  const std::optional<uint32_t> value = decimal_number(request.interval, UINT32_MAX);
  report.document["bmc"]["intervals"] = Json::array();
  ask_in_time(kBmc, report, [&](Report& answer) { show_interval(selector, value, answer); });
}

void report_bmc(Report& report) {
  report_bmc_address({}, report);
  if (report.document["bmc"]["address"].is_null()) {
    return;  // the rest would fail alike, one timeout after the other
  }
  report.document["bmc"]["mode"] = nullptr;
  report.document["bmc"]["intervals"] = Json::array();
  ask_in_time(kBmc, report, [](Report& answer) {
    show_mode({}, answer);
    for (uint32_t i = 0; ortinv_interval_selector(i) != -1; ++i) {
      show_interval(ortinv_interval_selector(i), {}, answer);
    }
  });
}

void report_entity_mib(const Request& request, Report& report) {
  if (!request.write) {
    show_registration(false, report);  // a file, and nothing that could hang
    return;
  }
  const bool answered =
      ask_in_time(kBmc, report, [](Report& answer) { show_registration(true, answer); });
  if (!answered) {
    show_registration(false, report);
  }
}
