// SPDX-License-Identifier: Apache-2.0
// The host's list of interfaces, from which its address is taken.
//
// Input: the debug switches, then what the command prints.
#include <cstring>
#include <string>

#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"
#include "trap/host_address.h"

namespace {

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const std::string_view output = input.rest_as_text();
  host.commands["localcli network ip interface ipv4 get"] = output;
  host_ipaddress.fill('x');
  get_host_ipaddress();
  require(memchr(host_ipaddress.data(), 0, host_ipaddress.size()) != nullptr, "the address ends");
  const std::string address = host_ipaddress.data();
  require(address.find_first_of(" \t\n\v\f\r") == std::string::npos, "an address is one word");
  require(output.find(address) != std::string_view::npos, "an address stands in the list");
  require(address.empty() || output.find("vmk0") != std::string_view::npos,
          "without vmk0 there is no address");
  require(host.open_descriptors() == 0, "nothing stays open");
  host.tell(address);
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
