// SPDX-License-Identifier: Apache-2.0
// The BMC's status, from its file or from the BMC.
//
// Input: the debug switches; whether there is a file and whose it is, and
// whether a channel is free; then the file up to a zero byte, and what the reads
// of the channel give (FakeHost::read_channel).
#include <cstdio>
#include <string>

#include "ortinv/support_check.h"
#include "tests/fuzz/fake_host.h"
#include "tests/fuzz/target.h"

namespace {

constexpr const char* kFile = "/opt/ortdv/tmp/moxstatus";
constexpr int kLineMax = 127;

int generation_in(const std::string& text) {
  int generation = 0;
  sscanf(text.substr(0, std::min<size_t>(text.find('\n'), kLineMax)).c_str(), "Mox%d", &generation);
  return generation;
}

std::string outcome_of(std::span<const uint8_t> bytes) {
  Input input(bytes);
  FakeHost host(input);
  const uint8_t state = input.byte();
  const bool there = (state & 1) != 0;
  host.file_owner = (state & 2) != 0 ? 1000 : 0;
  host.channels_free = (state & 4) == 0;
  const std::string content(input.text_until(0));
  if (there) {
    host.files[kFile] = content;
  }
  const int result = SystemSupported();
  const auto made = host.made_files.find(kFile);
  const bool is_made = made != host.made_files.end();
  require(result == 0 || result == 1, "a server is supported or not");
  if (there && host.file_owner == 0) {
    require(result == (generation_in(content) == 6), "root's file decides alone");
    require(!is_made, "root's file is left alone");
  } else {
    require((result == 1) == (is_made && made->second == "Mox6\r\n"), "the answer is kept");
    require(!is_made || (made->second.starts_with("Mox") && made->second.ends_with("\r\n")),
            "what is kept is a generation");
  }
  require(host.open_descriptors() == 0, "nothing stays open");
  host.tell(std::to_string(result));
  return host.story;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  execute({data, size}, outcome_of);
  return 0;
}
