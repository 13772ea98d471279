// SPDX-License-Identifier: Apache-2.0
// The commands of tvurevctl but check.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "tests/e2e/ctl_fixture.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class CtlCommands : public CtlHost {};

TEST_F(CtlCommands, PlaceHolder) {}

}  // namespace
