// SPDX-License-Identifier: Apache-2.0
#include "log/module_filter.h"

#include <algorithm>

#include "base/file.h"
#include "base/text.h"
#include "log/switches.h"

namespace {

bool selects(const ModuleSwitch& module, const char* message) {
  const bool keyword_found =
      holds(message, module.keyword) ||
      (module.other_keyword != nullptr && holds(message, module.other_keyword));
  // The word first: it costs no system call. Of any owner: the master switch, which
  // only root can set, stands before it.
  return keyword_found && exists(module.switch_file);
}

}  // namespace

int ModuleDebugEnabled(const char* message) {
  const bool enabled = std::any_of(kModuleSwitches.begin(), kModuleSwitches.end(),
                                   [&](const auto& module) { return selects(module, message); });
  return enabled ? 1 : 0;
}
