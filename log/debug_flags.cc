#include "log/debug_flags.h"

#include <sys/stat.h>

int32_t g_utilities_debug_flag = 0;
int32_t g_daemon_debug_flag = 0;
int32_t g_chif_dump_flag = 0;
int32_t g_agentx_dump_flag = 0;

namespace {

bool is_roots_file(const char* path) {
  struct stat status = {};
  return stat(path, &status) == 0 && status.st_uid == 0;
}

}  // namespace

void InitDebugFlag() {
  if (is_roots_file("/tmp/ortdebug.text")) {
    g_utilities_debug_flag = 1;
  }
}

void InitDaemonDebugFlags() {
  g_daemon_debug_flag = is_roots_file("/tmp/tvud.text") ? 1 : 0;
  g_chif_dump_flag = is_roots_file("/tmp/chif.text") ? 1 : 0;
  g_agentx_dump_flag = is_roots_file("/tmp/agentx.text") ? 1 : 0;
}
