// SPDX-License-Identifier: Apache-2.0
// What a notification costs: decoding it with debug output off, and with debug
// output on, side by side. The difference is what the debug lines cost a daemon
// that writes them; one that does not must not pay for their formatting.
#include <benchmark/benchmark.h>

#include "log/debug_flags.h"
#include "tests/support/packets.h"
#include "trap/agentx.h"

namespace {

Bytes notification_with(int bindings) {
  NotifyBuilder builder;
  builder.uptime(12345).trap_oid("1.3.6.1.4.1.32473.1.0.7");
  for (int i = 0; i < bindings; ++i) {
    const std::string oid = "1.3.6.1.4.1.32473.1.1." + std::to_string(i);
    switch (i % 3) {
      case 0:
        builder.integer(oid, i);
        break;
      case 1:
        builder.octets(oid, "Fan 3 in zone 2 has failed");
        break;
      default:
        builder.object_id(oid, "1.3.6.1.4.1.32473.1.2.3");
        break;
    }
  }
  return builder.bytes();
}

void decode(benchmark::State& state, int debug) {
  const Bytes packet = notification_with(static_cast<int>(state.range(0)));
  g_daemon_debug_flag = debug;
  for (auto _ : state) {
    benchmark::DoNotOptimize(decode_notification(packet));
  }
  g_daemon_debug_flag = 0;
}

void decode_debug_off(benchmark::State& state) {
  decode(state, 0);
}
void decode_debug_on(benchmark::State& state) {
  decode(state, 1);
}

BENCHMARK(decode_debug_off)->Arg(0)->Arg(6)->Arg(25);
BENCHMARK(decode_debug_on)->Arg(0)->Arg(6)->Arg(25);

}  // namespace
