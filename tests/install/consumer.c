/* A C program that uses the installed library: takes the address of every
 * public function, so that one which is declared but not exported does not
 * link, and calls some. */
#include <ortinv/ortinv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef void (*Function)(void);

static const Function kPublicFunctions[] = {
    (Function)CutAtNonAlnum,
    (Function)CutAtParen,
    (Function)HostUptime,
    (Function)SmBiosFindStructure,
    (Function)SmBiosGetCleanString,
    (Function)SmBiosGetRecords,
    (Function)SmBiosGetString,
    (Function)SmBiosInit,
    (Function)SmBiosNextStructure,
    (Function)SmBiosTerm,
    (Function)SmbDecodeBiosInfo,
    (Function)SmbDecodeEnclosure,
    (Function)SmbDecodeGbxTable,
    (Function)SmbDecodeServerId,
    (Function)SmbDecodeSlot,
    (Function)SmbDecodeSystemInfo,
    (Function)SmbDumpBiosInfo,
    (Function)SmbDumpEnclosure,
    (Function)SmbDumpGbxTable,
    (Function)SmbDumpServerId,
    (Function)SmbDumpSlots,
    (Function)SmbDumpSystemInfo,
    (Function)SmbGetHdLoc,
    (Function)SmbGetHdString,
    (Function)SmbGetNicPortNum,
    (Function)SmbGetPartNumber,
    (Function)SmbGetPciLinkedString,
    (Function)SmbGetPciLocation,
    (Function)SmbGetPciName,
    (Function)SwDestroyTable,
    (Function)SwFindInstalled,
    (Function)SwFreeTable,
    (Function)SwInstalledCount,
    (Function)SwParseBulletins,
    (Function)SwParseComponents,
    (Function)SystemSupported,
    (Function)getDistro,
    (Function)getIntervalEV,
    (Function)getRevModeConfig,
    (Function)get_Mox_IPv4,
    (Function)get_Mox_IPv6,
    (Function)get_distro,
    (Function)get_software_installed_table,
    (Function)init_sw_installed_table,
    (Function)ortinv_init_debug_log,
    (Function)ortinv_version,
    (Function)setIntervalEV,
    (Function)setRevModeConfig,
    (Function)update_ent_mib_xml,
    (Function)update_mem_info,
};

/* Names that the library has inside must not meet those of its callers. */
int mox_chrdev(const char* name);
int mox_chrdev(const char* name) {
  (void)name;
  abort();
}

static int check(const char* what, int holds) {
  printf("%s: %s\n", holds ? "ok" : "FAILED", what);
  return holds ? 0 : 1;
}

int main(int argc, char** argv) {
  int failures = 0;
  size_t i;
  const size_t count = sizeof kPublicFunctions / sizeof kPublicFunctions[0];
  struct HostIdentity identity;
  char text[] = "Xeon(R)";

  for (i = 0; i < count; ++i) {
    failures += check("function is there", kPublicFunctions[i] != NULL);
  }
  failures += check("version", argc == 2 && strcmp(ortinv_version(), argv[1]) == 0);
  ortinv_init_debug_log();
  CutAtParen(text, (int)sizeof text);
  failures += check("text is cut", strcmp(text, "Xeon") == 0);
  failures += check("uptime", HostUptime() > 0);
  getDistro(&identity);
  failures += check("identity", strcmp(identity.system_type, "Server") == 0);
  failures += check("kernel", identity.sysDescr[0] != '\0');
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
