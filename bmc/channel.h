// SPDX-License-Identifier: Apache-2.0
// One channel to the BMC: opening a free device, the device read with its
// retries, and the write-then-read exchange of every utility query. A channel
// is a plain descriptor, -1 when none is open; whoever opened it closes it.
//
// Touches "/vmfs/devices/char/vmkdriver/zemox-d0ccb" + channel number. A device
// read is ioctl request 0x100 with a 4096-byte buffer: the driver fills in the
// next packet, and the result is its length.
#ifndef TVUREV_BMC_CHANNEL_H_
#define TVUREV_BMC_CHANNEL_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>

// Opens a free channel, O_EXCL and close-on-exec, searching from the first channel down to 0:
// from 15, from 9 when the name holds "vbqd", from 4 when name is null.
// Sweeps at most five times, 100 ms apart. Returns the descriptor, or -1 after
// a log line. Logs the device opened when a name was given.
int mox_chrdev(const char* name);

// The number of the node that mox_chrdev opened last, -1 before the first.
int last_opened_channel();

// Closes a channel; does nothing for -1.
void close_channel(int fd);

// Writes one packet and returns the write call's result.
ssize_t write_channel(int fd, std::span<const uint8_t> packet);

// Reads one packet to where chif::kPacketMax bytes have room, for the driver
// fills in a whole packet. Returns the ioctl's result: the packet's length, 0 or
// a negative value with errno.
int read_packet(int fd, uint8_t* packet);

// Reads one packet into a destination of any size and returns the ioctl's
// result. Always fills the whole destination: what the packet does not cover
// reads as zero, also on a failure. Returns 0 (destination untouched, one log
// line) without memory.
int readMP(int fd, std::span<uint8_t> destination);

// As readMP, with up to ten attempts, 10 ms apart, until one yields a packet.
// Returns the last attempt's result.
int readMPr(int fd, std::span<uint8_t> destination);

// Tells getResponse() to send the caller's header unchanged.
inline constexpr uint16_t kCmdKeepHeader = 0xFF;

// Sends a request and reads the response to it.
//   command  written into the request's header together with its length, seqno
//            0xDEAD and svc 0; kCmdKeepHeader sends the caller's header.
//   request  the whole packet; response: filled to its end, zero-padded. The
//            two may be the same memory.
//   received_length  when not null, set to the packet's length on success.
// Returns 0, also for an empty response after ten empty reads (length 0), or -1
// when the write fails with anything but EBUSY or the read fails. EBUSY is
// retried ten times, 10 ms apart, and then read all the same. Failures are
// logged.
int getResponse(int fd, uint16_t command, std::span<uint8_t> request, std::span<uint8_t> response,
                int* received_length);

#endif  // TVUREV_BMC_CHANNEL_H_
