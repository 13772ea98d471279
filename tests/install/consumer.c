/* SPDX-License-Identifier: Apache-2.0 */
/* A C program that uses the installed library. */
#include <ortinv/ortinv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

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
  char version[32];
  struct HostIdentity identity;
  char text[] = "Xeon(R)";

  failures += check("version", argc == 2 && strcmp(ortinv_version(), argv[1]) == 0);
  failures += check("version of the headers", strcmp(ORTINV_VERSION, ortinv_version()) == 0);
  snprintf(version, sizeof version, "%d.%d.%d", ORTINV_VERSION_MAJOR, ORTINV_VERSION_MINOR,
           ORTINV_VERSION_PATCH);
  failures += check("numbers of the version", strcmp(version, ORTINV_VERSION) == 0);
  ortinv_init_debug_log();
  CutAtParen(text, (int)sizeof text);
  failures += check("text is cut", strcmp(text, "Xeon") == 0);
  failures += check("uptime", HostUptime() > 0);
  getDistro(&identity);
  failures += check("identity", strcmp(identity.system_type, "Server") == 0);
  failures += check("kernel", identity.sysDescr[0] != '\0');
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
