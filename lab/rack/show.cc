// SPDX-License-Identifier: Apache-2.0
#include "lab/rack/show.h"

#include <unistd.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace {

double seconds_since_start(const Rack& rack) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - rack.start).count();
}

// Longer than any line of the table.
using Line = std::array<char, 256>;

std::string first_line(const Rack& rack) {
  Line line = {};
  std::snprintf(line.data(), line.size(),
                "%6.1f s  %-20s hosts %d of %d   BMCs said %ld   datagrams sent %ld",
                seconds_since_start(rack), rack.phase.c_str(), connected(rack), rack.settings.hosts,
                said(rack), rack.sent);
  return line.data();
}

std::string line_of(const Rack& rack, const Receiver& receiver) {
  Line line = {};
  std::snprintf(line.data(), line.size(),
                "          %-15s received %8ld   dropped at the socket %6ld   "
                "on the way %6ld   waiting %7ld bytes",
                receiver.address.c_str(), receiver.printed, receiver.socket.dropped,
                missing(rack, receiver), receiver.socket.waiting_bytes);
  return line.data();
}

// Where nothing can be written anew: all of it in one line.
std::string short_line(const Rack& rack) {
  std::string received = "   received";
  std::string dropped = "   dropped";
  for (const Receiver& receiver : rack.receivers) {
    received += " " + std::to_string(receiver.printed);
    dropped += " " + std::to_string(receiver.socket.dropped);
  }
  return first_line(rack) + received + dropped;
}

void erase_table(Rack* rack) {
  for (; rack->lines_shown > 0; --rack->lines_shown) {
    std::fputs("\033[A\033[2K", stdout);
  }
}

double microseconds_a_trap(const Receiver& receiver) {
  constexpr double kMicroseconds = 1e6;
  std::ifstream file("/proc/" + std::to_string(receiver.snmptrapd.pid()) + "/stat");
  const std::string stat(std::istreambuf_iterator<char>(file), {});
  return receiver.printed == 0
             ? 0
             : processor_seconds(stat) * kMicroseconds / static_cast<double>(receiver.printed);
}

void write_for_plot(const Rack& rack) {
  if (rack.samples == nullptr) {
    return;
  }
  FILE* file = rack.samples.get();
  std::fprintf(file, "%.2f\t%d\t%ld\t%ld", seconds_since_start(rack), connected(rack), said(rack),
               rack.sent);
  for (const Receiver& receiver : rack.receivers) {
    std::fprintf(file, "\t%ld\t%ld\t%ld", receiver.printed, receiver.socket.dropped,
                 receiver.socket.waiting_bytes);
  }
  std::fputc('\n', file);
}

}  // namespace

void show_sample(Rack* rack) {
  constexpr int kSamplesALine = 10;
  constexpr int kSamplesATable = 2;
  write_for_plot(*rack);
  const bool terminal = isatty(STDOUT_FILENO) != 0;
  if (rack->samples_taken % (terminal ? kSamplesATable : kSamplesALine) != 0) {
    return;
  }
  erase_table(rack);
  if (terminal) {
    // A line that is too long for the terminal is cut: a wrapped one would be two.
    std::vector<std::string> lines = {first_line(*rack)};
    for (const Receiver& receiver : rack->receivers) {
      lines.push_back(line_of(*rack, receiver));
    }
    for (const std::string& line : lines) {
      std::printf("\033[?7l%s\033[?7h\n", line.c_str());
    }
    rack->lines_shown = static_cast<int>(lines.size());
  } else {
    std::puts(short_line(*rack).c_str());
  }
  std::fflush(stdout);
}

void show_line(Rack* rack, const std::string& line) {
  erase_table(rack);
  std::printf("%6.1f s  %s\n", seconds_since_start(*rack), line.c_str());
  std::fflush(stdout);
}

void show_phase(Rack* rack, const std::string& phase) {
  rack->phase = phase;
  show_line(rack, "--- " + phase);
  if (rack->samples != nullptr) {
    // The word that the plot writes beside its line.
    std::fprintf(rack->samples.get(), "# phase\t%.2f\t%s\n", seconds_since_start(*rack),
                 phase.c_str());
  }
}

void show_totals(Rack* rack) {
  erase_table(rack);
  std::printf("\n%ld notifications of %zu hosts, %ld datagrams, %ld lines of log\n", said(*rack),
              rack->hosts.size(), rack->sent, rack->log_lines);
  std::printf("%-16s %10s %22s %26s %11s %12s\n", "receiver", "received", "dropped at the socket",
              "lost before the socket", "misplaced", "CPU us/trap");
  for (const Receiver& receiver : rack->receivers) {
    std::printf("%-16s %10ld %22ld %26ld %11ld %12.0f\n", receiver.address.c_str(),
                receiver.printed, receiver.socket.dropped, missing(*rack, receiver),
                receiver.misplaced, microseconds_a_trap(receiver));
  }
  std::fflush(stdout);
}
