// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/nvram.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "tests/unit/lab/temporary_directory.h"

namespace {

void write_file(const std::string& path, const std::string& text) {
  std::ofstream(path) << text;
}

std::string read_file(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

TEST(NvramFile, AMissingFileHoldsNoVariables) {
  const TemporaryDirectory directory;
  Variables variables = {{"OLD", {1}}};
  EXPECT_EQ(load_nvram(directory / "none", &variables), "");
  EXPECT_TRUE(variables.empty());
}

TEST(NvramFile, IsReadWithCommentsAndEmptyValues) {
  const TemporaryDirectory directory;
  write_file(directory / "nvram", "# modes\nKXHVM6=01\n\nKXHVMA=0f000000 # interval\nEMPTY=\n");
  Variables variables;
  EXPECT_EQ(load_nvram(directory / "nvram", &variables), "");
  EXPECT_EQ(variables, (Variables{{"KXHVM6", {1}}, {"KXHVMA", {15, 0, 0, 0}}, {"EMPTY", {}}}));
}

TEST(NvramFile, NamesTheFirstWrongLine) {
  const TemporaryDirectory directory;
  const std::string path = directory / "nvram";
  Variables variables;
  for (const char* wrong : {"KXHVM6", "KXHVM6=0", "=01", "KXHVM6=01 02", "\"x"}) {
    write_file(path, std::string("A=01\n") + wrong + "\n");
    EXPECT_EQ(load_nvram(path, &variables), path + ":2: not a variable of the form NAME=HEX")
        << wrong;
  }
}

TEST(NvramFile, ADirectoryCannotBeRead) {
  const TemporaryDirectory directory;
  Variables variables;
  EXPECT_NE(load_nvram(directory.path(), &variables), "");
}

TEST(NvramFile, IsWrittenSortedAndWhole) {
  const TemporaryDirectory directory;
  const std::string path = directory / "nvram";
  EXPECT_EQ(save_nvram(path, {{"B", {0xAB, 1}}, {"A", {}}}), "");
  EXPECT_EQ(read_file(path), "A=\nB=ab01\n");
  EXPECT_FALSE(std::filesystem::exists(path + ".new"));
}

TEST(NvramFile, SaysWhyItCannotBeWritten) {
  const TemporaryDirectory directory;
  const std::string path = directory / "no/such/folder";
  EXPECT_EQ(save_nvram(path, {}), path + ".new: cannot write: No such file or directory");
}
