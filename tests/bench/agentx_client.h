// SPDX-License-Identifier: Apache-2.0
// The little of a subagent that hands notifications to an AgentX master: it
// opens a session and reads the answers. docs/protocol-agentx.md has the bytes.
#ifndef TVUREV_TESTS_BENCH_AGENTX_CLIENT_H_
#define TVUREV_TESTS_BENCH_AGENTX_CLIENT_H_

#include <cstdint>
#include <functional>

// Opens a session on a connected socket and returns its number. `meanwhile` is
// called while the answer is awaited. Fails with MeasurementFailed.
uint32_t open_agentx_session(int fd, const std::function<void()>& meanwhile);

// Reads one Response PDU and returns its session. Fails when it reports an
// error or does not come.
uint32_t receive_agentx_response(int fd);

#endif  // TVUREV_TESTS_BENCH_AGENTX_CLIENT_H_
