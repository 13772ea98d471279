// SPDX-License-Identifier: Apache-2.0
#include "ortinv/host_identity.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "hostinfo/host_version.h"
#include "tests/unit/hostinfo/debug_log.h"
#include "tests/unit/hostinfo/fresh_process.h"

namespace {

constexpr const char* kUname = "uname -a";
constexpr const char* kVersion = "localcli system version get | awk '/Version:/{print $2}'";

// What stands in for the platform's library.
HostVersion g_platform_version;
std::string g_library_name = "libvmkuser.so";
bool g_library_has_call = true;
Lines g_libraries_tried;

template <size_t size>
void set_text(char (&field)[size], const std::string& text) {
  memset(field, 0, size);
  memcpy(field, text.data(), std::min(size, text.size()));
}

void set_version(const std::string& product, const std::string& version, const std::string& update,
                 const std::string& patch, int build) {
  set_text(g_platform_version.Product, product);
  set_text(g_platform_version.ProductVersion, version);
  set_text(g_platform_version.releaseUpdate, update);
  set_text(g_platform_version.releasePatch, patch);
  g_platform_version.Build = build;
}

void expect_uname(CallScript& script, const std::string& output) {
  script.popen(kUname).prints(output);
  script.pclose(kUname);
}

HostIdentity build_identity(const std::string& uname_output = "VMkernel host\n") {
  DebuggedScript script;
  expect_uname(script, uname_output);
  HostIdentity identity;
  memset(&identity, 0xA5, sizeof identity);
  getDistro(&identity);
  return identity;
}

// Both version texts for an update and a patch, long and short.
std::pair<std::string, std::string> version_texts(const std::string& update,
                                                  const std::string& patch) {
  set_version("VMware ESXi", "8.0.2", update, patch, 1234);
  const HostIdentity identity = build_identity();
  EXPECT_STREQ(identity.full_version, identity.version);
  return {identity.version, identity.short_version};
}

using Texts = std::pair<std::string, std::string>;

TEST(HostIdentityTest, IsBuiltFromKernelAndPlatform) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "2", "15", 22380479);
    const HostIdentity identity = build_identity("VMkernel esx1 8.0.2 #1 SMP x86_64 ESXi\n");
    EXPECT_STREQ(identity.product, "VMware ESXi");
    EXPECT_STREQ(identity.version, "VMware ESXi 8.0.2 Build-22380479 Update 2 Patch 15");
    EXPECT_STREQ(identity.full_version, "VMware ESXi 8.0.2 Build-22380479 Update 2 Patch 15");
    EXPECT_STREQ(identity.short_version, "8.0.2 Build-22380479 Update 2 Patch 15");
    EXPECT_STREQ(identity.system_type, "Server");
    EXPECT_STREQ(identity.system_subtype, "Server_3");
    EXPECT_STREQ(identity.sysDescr, "VMkernel esx1 8.0.2 #1 SMP x86_64 ESXi");
    EXPECT_EQ(identity.build, 22380479U);
    for (const uint8_t byte : identity.reserved) {
      EXPECT_EQ(byte, 0);
    }
  });
}

TEST(HostIdentityTest, LogsEachStepOfTheBuild) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "2", "15", 1234);
    DebuggedScript script;
    expect_uname(script, "VMkernel esx1\n");
    HostIdentity identity;
    getDistro(&identity);
    EXPECT_EQ(script.logs(),
              Lines({"6 talHost getDistro() start... \n",
                     "6 talHost getDistro() not yet initialized... \n",
                     "6 talHost getDistro(): Calling popen() for uname cmd...\n",
                     "6 talHost getDistro():  g_distro_id.sysDescr is [VMkernel esx1]\n",
                     "6 talHost getDistro(): Calling VmkuserVersion_GetUniqueSystemVersion()...\n",
                     "6 talHost getDistro(): Product:        [VMware ESXi]\n",
                     "6 talHost getDistro(): ProductVersion: [8.0.2]\n",
                     "6 talHost getDistro(): releaseUpdate:  [2]\n",
                     "6 talHost getDistro(): releasePatch:   [15]\n",
                     "6 talHost getDistro(): Build           [1234]\n",
                     "6 talHost getDistro(): Done.  Return.\n"}));
  });
}

TEST(HostIdentityTest, NamesUpdateAndPatchWhereThereAreAny) {
  in_fresh_process([] {
    EXPECT_EQ(version_texts("2", "15"), Texts("VMware ESXi 8.0.2 Build-1234 Update 2 Patch 15",
                                              "8.0.2 Build-1234 Update 2 Patch 15"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts("2", "0"),
              Texts("VMware ESXi 8.0.2 Build-1234 Update 2", "8.0.2 Build-1234 Update 2"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts("0", "3"),
              Texts("VMware ESXi 8.0.2 Build-1234 Patch 3", "8.0.2 Build-1234 Patch 3"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts("0", "0"), Texts("VMware ESXi 8.0.2 Build-1234", "8.0.2 Build-1234"));
  });
}

TEST(HostIdentityTest, CountsWhatIsNoNumberOrNegativeAsNone) {
  in_fresh_process([] {
    EXPECT_EQ(version_texts("two", ""), Texts("VMware ESXi 8.0.2 Build-1234", "8.0.2 Build-1234"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts("-2", "-1"), Texts("VMware ESXi 8.0.2 Build-1234", "8.0.2 Build-1234"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts(" 1b", "-1"),
              Texts("VMware ESXi 8.0.2 Build-1234 Update 1", "8.0.2 Build-1234 Update 1"));
  });
}

TEST(HostIdentityTest, IsCopiedAndNotReadAgainOnceBuilt) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "2", "0", 1);
    const HostIdentity first = build_identity();
    set_version("Other", "9.9", "9", "9", 9);
    DebuggedScript script;
    HostIdentity second;
    memset(&second, 0xA5, sizeof second);
    getDistro(&second);
    EXPECT_EQ(memcmp(&first, &second, sizeof first), 0);
    EXPECT_EQ(script.logs(),
              Lines({"6 talHost getDistro() start... \n",
                     "6 talHost getDistro() already initialized. Copying global distro to "
                     "requestor... \n"}));
  });
}

TEST(HostIdentityTest, IsNotBuiltWithoutARecord) {
  in_fresh_process([] {
    {
      const DebuggedScript script;
      getDistro(nullptr);
      EXPECT_EQ(script.logs(), Lines({"6 talHost getDistro() start... \n",
                                      "6 talHost getDistro() not yet initialized... \n"}));
    }
    set_version("VMware ESXi", "8.0.2", "", "", 7);
    EXPECT_STREQ(build_identity().short_version, "8.0.2 Build-7");
    const DebuggedScript script;
    getDistro(nullptr);
    EXPECT_EQ(script.logs(), Lines({"6 talHost getDistro() start... \n"}));
  });
}

TEST(HostIdentityTest, HasNoKernelDescriptionWithoutUname) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "", "", 7);
    DebuggedScript script;
    script.popen(kUname).fails(ENOMEM);
    HostIdentity identity;
    getDistro(&identity);
    EXPECT_STREQ(identity.sysDescr, "");
    EXPECT_STREQ(identity.short_version, "8.0.2 Build-7");
    EXPECT_EQ(script.logs()[3],
              "6 talHost getDistro(): Calling VmkuserVersion_GetUniqueSystemVersion()...\n");
  });
  in_fresh_process([] { EXPECT_STREQ(build_identity("").sysDescr, ""); });
}

TEST(HostIdentityTest, TakesOneLineOfUnameWithoutItsLastCharacter) {
  in_fresh_process([] { EXPECT_STREQ(build_identity("one\ntwo\n").sysDescr, "one"); });
  in_fresh_process([] { EXPECT_STREQ(build_identity("cut!").sysDescr, "cut"); });
  in_fresh_process([] { EXPECT_STREQ(build_identity("\n").sysDescr, ""); });
  in_fresh_process([] {
    EXPECT_EQ(build_identity(std::string(300, 'x') + "\n").sysDescr, std::string(254, 'x'));
  });
  in_fresh_process([] { EXPECT_STREQ(build_identity(std::string("\0binary\n", 8)).sysDescr, ""); });
}

TEST(HostIdentityTest, KeepsAnEmptyVersionWithoutThePlatformsLibrary) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "2", "15", 1234);
    g_library_name = "";
    const HostIdentity identity = build_identity("VMkernel host\n");
    EXPECT_EQ(g_libraries_tried, Lines({"libvmkuser.so", "libvmkuser.so.1"}));
    EXPECT_STREQ(identity.product, "");
    EXPECT_STREQ(identity.version, "  Build-0");
    EXPECT_STREQ(identity.short_version, " Build-0");
    EXPECT_STREQ(identity.system_type, "Server");
    EXPECT_STREQ(identity.sysDescr, "VMkernel host");
    EXPECT_EQ(identity.build, 0U);
  });
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "2", "15", 1234);
    g_library_has_call = false;
    EXPECT_STREQ(build_identity().product, "");
  });
}

TEST(HostIdentityTest, TriesTheVersionedLibraryToo) {
  in_fresh_process([] {
    set_version("VMware ESXi", "8.0.2", "", "", 5);
    g_library_name = "libvmkuser.so.1";
    EXPECT_STREQ(build_identity().product, "VMware ESXi");
  });
}

TEST(HostIdentityTest, EndsTextsThatFillTheirField) {
  in_fresh_process([] {
    set_version(std::string(40, 'P'), std::string(200, 'V'), std::string(40, '1'),
                std::string(40, 'x'), -1);
    const HostIdentity identity = build_identity();
    EXPECT_EQ(identity.product, std::string(31, 'P'));
    EXPECT_EQ(std::string(identity.short_version), std::string(127, 'V'));
    EXPECT_EQ(std::string(identity.version).substr(0, 33), std::string(31, 'P') + " V");
    EXPECT_EQ(strlen(identity.version), 127U);
    EXPECT_EQ(std::string(identity.full_version).substr(0, 166),
              std::string(31, 'P') + " " + std::string(127, 'V') + " Build-");
    EXPECT_EQ(identity.build, 0xFFFFFFFFU);
  });
}

TEST(HostIdentityTest, CutsWhatIsNotGraphicFromTheEndOfATruncatedVersion) {
  in_fresh_process([] {
    // The shorter field ends on the blank before "Build", after a byte that is
    // no printable character.
    set_version(std::string(31, 'P'), std::string(93, 'V') + "\x7F", "", "", 1);
    const HostIdentity identity = build_identity();
    EXPECT_EQ(identity.version, std::string(31, 'P') + " " + std::string(93, 'V'));
    EXPECT_EQ(identity.full_version,
              std::string(31, 'P') + " " + std::string(93, 'V') + "\x7F Build-1");
  });
}

TEST(HostIdentityTest, CutsTheBlanksOfATruncatedVersion) {
  in_fresh_process([] {
    // 31 + 1 + 95: the field's last characters are blanks of the version.
    set_version(std::string(31, 'P'), std::string(92, 'V') + "   V", "", "", 1);
    EXPECT_EQ(build_identity().version, std::string(31, 'P') + " " + std::string(92, 'V'));
  });
}

TEST(HostIdentityTest, TakesEveryCharacterFromExclamationMarkToTildeForGraphic) {
  const auto version_ending_in = [](char last) {
    set_version(std::string(31, 'P'), std::string(94, 'V') + last, "", "", 1);
    return std::string(build_identity().version);
  };
  const std::string rest = std::string(31, 'P') + " " + std::string(94, 'V');
  for (const char last : {'!', '~'}) {
    in_fresh_process([&] { EXPECT_EQ(version_ending_in(last), rest + last); });
  }
  for (const char last : {'\x1F', ' ', '\x7F', '\x80'}) {
    in_fresh_process([&] { EXPECT_EQ(version_ending_in(last), rest); });
  }
}

TEST(HostIdentityTest, NeverCutsTheFirstCharacterOfAVersion) {
  // The field ends inside a version of blanks.
  in_fresh_process([] {
    set_version("", std::string(127, ' '), "", "", 1);
    EXPECT_STREQ(build_identity().version, " ");
  });
}

TEST(HostIdentityTest, NamesAFirstUpdateAndAFirstPatch) {
  in_fresh_process([] {
    EXPECT_EQ(version_texts("0", "1"),
              Texts("VMware ESXi 8.0.2 Build-1234 Patch 1", "8.0.2 Build-1234 Patch 1"));
  });
  in_fresh_process([] {
    EXPECT_EQ(version_texts("1", "1"), Texts("VMware ESXi 8.0.2 Build-1234 Update 1 Patch 1",
                                             "8.0.2 Build-1234 Update 1 Patch 1"));
  });
}

TEST(HostIdentityTest, EndsAnUpdateAndAPatchThatFillTheirField) {
  // The number must end with its field: behind it lie other digits, those of the
  // patch and of the build.
  in_fresh_process([] {
    set_version("P", "1", "0", std::string(31, '0') + "7", '5');
    EXPECT_STREQ(build_identity().short_version, "1 Build-53");
  });
  in_fresh_process([] {
    set_version("P", "1", std::string(30, '0') + "78", "9", 1);
    EXPECT_STREQ(build_identity().short_version, "1 Build-1 Update 7 Patch 9");
  });
}

TEST(GetDistroTest, GivesTheFirstCharacterOfTheVersion) {
  DebuggedScript script;
  script.popen(kVersion).prints("8.0.2\n");
  script.pclose(kVersion);
  EXPECT_EQ(get_distro(), '8');
  EXPECT_TRUE(script.logs().empty());
}

TEST(GetDistroTest, GivesNoneWhenTheCommandCannotBeStarted) {
  DebuggedScript script;
  script.popen(kVersion).fails(EMFILE);
  EXPECT_EQ(get_distro(), '\0');
  EXPECT_EQ(script.logs(), Lines({"6 utils: get_distro: popen FAILED!.\n"}));
}

TEST(GetDistroTest, GivesNoneWhenNothingIsPrinted) {
  DebuggedScript script;
  script.popen(kVersion).prints("");
  script.pclose(kVersion);
  EXPECT_EQ(get_distro(), '\0');
  EXPECT_EQ(script.logs(), Lines({"6 utils: get_distro: get ESXi version FAILED!\n"}));
}

TEST(GetDistroTest, ReadsOneLineOfRubbish) {
  DebuggedScript script;
  script.popen(kVersion).prints(std::string(10000, 'z'));
  script.pclose(kVersion);
  EXPECT_EQ(get_distro(), 'z');
}

int get_system_version(HostVersion* version) {
  *version = g_platform_version;
  return -1;  // of no interest to anyone
}

}  // namespace

extern "C" {
void* __wrap_dlopen(const char* name, int flags);
void* __wrap_dlsym(void* library, const char* name);
}

void* __wrap_dlopen(const char* name, int /*flags*/) {
  g_libraries_tried.emplace_back(name);
  return name == g_library_name ? &g_library_name : nullptr;
}

void* __wrap_dlsym(void* library, const char* name) {
  EXPECT_EQ(library, &g_library_name);
  EXPECT_STREQ(name, "VmkuserVersion_GetUniqueSystemVersion");
  return g_library_has_call ? reinterpret_cast<void*>(&get_system_version) : nullptr;
}
