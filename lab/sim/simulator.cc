// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/simulator.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "lab/shim/faults.h"
#include "lab/sim/nvram.h"

namespace {

constexpr size_t kHelloReplySize = 20;
constexpr size_t kConnectReplySize = 16;

// A utility query is read for this often before the host gives up.
constexpr int kReadAttempts = 10;

bool is_session_request(PacketKind kind) {
  return kind == PacketKind::kHello || kind == PacketKind::kConnect || kind == PacketKind::kBye;
}

bool applies_to(const AnswerEvent& replaced, PacketKind kind) {
  return !replaced.kind || *replaced.kind == kind;
}

Bytes true_answer(const Simulator& simulator, PacketKind kind, std::span<const uint8_t> request) {
  switch (kind) {
    case PacketKind::kHello:
      return session_reply(request, kHelloReplySize);
    case PacketKind::kConnect:
      return session_reply(request, kConnectReplySize);
    case PacketKind::kBye:
      return session_reply(request, get_u16(request, chif::header::kCmdno) == chif::kCmdHelloShort
                                        ? chif::session_request::kShortSize
                                        : chif::session_reply::kMax);
    case PacketKind::kStatusQuery:
      return status_reply(request, simulator.identity);
    case PacketKind::kNvramGet:
      return nvram_get_reply(request, simulator.variables);
    case PacketKind::kNvramSet:
      return nvram_set_reply(request);
    case PacketKind::kIpv4Query:
      return ipv4_reply(request, simulator.identity);
    case PacketKind::kIpv6Query:
      return ipv6_reply(request, simulator.identity);
    case PacketKind::kOtherKcs:
    case PacketKind::kLogAck:
    case PacketKind::kShutdownAck:
    case PacketKind::kUnknown:
      break;
  }
  return kcs_reply(request, kcs::kCompletionInvalidCommand, {});
}

void change_answer(Bytes* packet, const AnswerEvent& changes) {
  if (changes.packet) {
    *packet = *changes.packet;
  }
  if (changes.seqno_offset != 0) {
    put_u16(*packet, chif::header::kSeqno,
            static_cast<uint16_t>(get_u16(*packet, chif::header::kSeqno) + changes.seqno_offset));
  }
  change_fields(packet, changes.fields);
}

// Takes the replaced answer for a request, if there is one: a counted one
// first, then one for this kind, then one for every kind.
std::optional<AnswerEvent> take_replaced(std::vector<AnswerEvent>* replaced, PacketKind kind) {
  const auto find = [&](auto&& accept) {
    return std::find_if(replaced->begin(), replaced->end(), [&](const AnswerEvent& answer) {
      return applies_to(answer, kind) && accept(answer);
    });
  };
  auto found = find([](const AnswerEvent& answer) { return answer.times > 0; });
  if (found != replaced->end()) {
    const AnswerEvent answer = *found;
    if (--found->times == 0) {
      replaced->erase(found);
    }
    return answer;
  }
  found = find([](const AnswerEvent& answer) { return answer.kind.has_value(); });
  if (found == replaced->end()) {
    found = find([](const AnswerEvent&) { return true; });
  }
  return found == replaced->end() ? std::nullopt : std::optional(*found);
}

void replace_answer(std::vector<AnswerEvent>* replaced, const AnswerEvent& event) {
  std::erase_if(*replaced, [&](const AnswerEvent& older) {
    const bool same = older.kind == event.kind;
    return event.normal ? same || !event.kind : same && older.times == 0 && event.times == 0;
  });
  if (!event.normal) {
    replaced->push_back(event);
  }
}

std::string set_faults(const std::string& path, const FaultEvent& event) {
  if (event.times == 0) {
    unlink(path.c_str());
    return "";
  }
  const char* call = event.call == FaultEvent::Call::kWrite ? "write" : "read";
  return add_fault(path.c_str(), call, event.error, event.times) == 0
             ? ""
             : path + ": cannot write: " + std::strerror(errno);
}

void set_identity(BmcIdentity* identity, const IdentityEvent& event) {
  identity->generation = event.generation.value_or(identity->generation);
  if (event.firmware) {
    identity->firmware_major = event.firmware->first;
    identity->firmware_minor = event.firmware->second;
  }
  identity->firmware_date = event.firmware_date.value_or(identity->firmware_date);
  identity->ipv4 = event.ipv4.value_or(identity->ipv4);
  identity->ipv6_options = event.ipv6_options.value_or(identity->ipv6_options);
  identity->ipv6_entries = event.ipv6_entries.value_or(identity->ipv6_entries);
}

// One function for each kind of event; a text says what went wrong.
struct Executor {
  Simulator* simulator;

  std::string operator()(const WaitEvent&) const { return ""; }
  std::string operator()(const ExpectEvent&) const { return ""; }
  std::string operator()(const QuitEvent&) const { return ""; }

  std::string operator()(const PushEvent& event) const {
    Bytes packet = event.packet;
    if (!event.keep_seqno) {
      put_u16(packet, chif::header::kSeqno, simulator->next_seqno++);
    }
    return simulator->push(simulator->session_channel(), packet)
               ? ""
               : "no client has a channel open to send this to";
  }

  std::string operator()(const HangupEvent&) const {
    Channel* channel = simulator->find_channel(simulator->session_channel());
    if (channel == nullptr) {
      return "no client has a channel open to hang up on";
    }
    hang_up(channel);
    simulator->report({Happening::What::kClosed, channel->number, {}, "hung up"});
    return "";
  }

  std::string operator()(const AnswerEvent& event) const {
    replace_answer(&simulator->replaced_answers, event);
    return "";
  }

  std::string operator()(const FaultEvent& event) const {
    return set_faults(faults_path(simulator->directory), event);
  }

  std::string operator()(const OccupyEvent& event) const {
    for (Channel& channel : simulator->channels) {
      if (channel.number < event.first || channel.number > event.last) {
        continue;
      }
      if (event.occupied) {
        channel.listener.reset();
      } else if (!channel.listener.valid()) {
        if (std::string error = open_listener(&channel); !error.empty()) {
          return error;
        }
      }
    }
    return "";
  }

  std::string operator()(const VariableEvent& event) const {
    return simulator->set_variable(event.name, event.value);
  }

  std::string operator()(const IdentityEvent& event) const {
    set_identity(&simulator->identity, event);
    return "";
  }

  std::string operator()(const NoteEvent& event) const {
    simulator->report({Happening::What::kNote, -1, {}, event.text});
    return "";
  }
};

}  // namespace

std::string faults_path(const std::string& directory) {
  return directory + "/zemox-d0ccb-faults";
}

std::string describe(const Happening& happening) {
  const std::string channel = "channel " + std::to_string(happening.channel);
  switch (happening.what) {
    case Happening::What::kOpened:
      return channel + " opened";
    case Happening::What::kClosed:
      return channel + (happening.note.empty() ? " closed" : " " + happening.note);
    case Happening::What::kReceived:
      return channel + " < " + describe_to_bmc(happening.packet);
    case Happening::What::kSent:
      return channel + " > " + describe_from_bmc(happening.packet);
    case Happening::What::kNote:
      break;
  }
  return happening.note;
}

std::string Simulator::open_channels(const std::string& where, int first, int last) {
  close_channels();
  directory = where;
  unlink(faults_path(directory).c_str());
  for (int number = first; number <= last; ++number) {
    Channel channel;
    channel.number = number;
    channel.path = directory + "/zemox-d0ccb" + std::to_string(number);
    if (std::string error = open_listener(&channel); !error.empty()) {
      close_channels();
      return error;
    }
    channels.push_back(std::move(channel));
  }
  return "";
}

void Simulator::close_channels() {
  for (const Channel& channel : channels) {
    unlink(channel.path.c_str());
  }
  if (!channels.empty()) {
    unlink(faults_path(directory).c_str());
  }
  channels.clear();
  greeted_channel = -1;
}

std::vector<pollfd> Simulator::descriptors() const {
  std::vector<pollfd> descriptors;
  for (const Channel& channel : channels) {
    add_descriptors(channel, &descriptors);
  }
  return descriptors;
}

bool Simulator::step(int timeout_ms) {
  auto waiting_for = descriptors();
  if (poll(waiting_for.data(), waiting_for.size(), timeout_ms) <= 0) {
    return false;
  }
  const ChannelReports reports = [this](const ChannelReport& seen) {
    switch (seen.what) {
      case ChannelReport::What::kOpened:
        report({Happening::What::kOpened, seen.channel, {}, ""});
        break;
      case ChannelReport::What::kClosed:
        greeted_channel = greeted_channel == seen.channel ? -1 : greeted_channel;
        report({Happening::What::kClosed, seen.channel, {}, ""});
        break;
      case ChannelReport::What::kReceived:
        answer(seen.channel, seen.packet);
        break;
    }
  };
  bool any = false;
  for (Channel& channel : channels) {
    any = serve(&channel, reports) || any;
  }
  return any;
}

std::string Simulator::execute(const Event& event) {
  return std::visit(Executor{this}, event);
}

int Simulator::received(PacketKind kind) const {
  return static_cast<int>(std::ranges::count_if(history, [kind](const Happening& happening) {
    return happening.what == Happening::What::kReceived && classify(happening.packet) == kind;
  }));
}

int Simulator::session_channel() const {
  int highest = -1;
  for (const Channel& channel : channels) {
    if (channel.client.valid() && channel.number == greeted_channel) {
      return channel.number;
    }
    highest = channel.client.valid() ? std::max(highest, channel.number) : highest;
  }
  return highest;
}

bool Simulator::drained() const {
  return std::ranges::all_of(channels, is_drained);
}

bool Simulator::push(int number, std::span<const uint8_t> packet) {
  Channel* channel = find_channel(number);
  if (channel == nullptr) {
    return false;
  }
  // Reported first, so that a list of what happens never shows the host's
  // reaction before its cause.
  report({Happening::What::kSent, number, {packet.begin(), packet.end()}, ""});
  return send_packet(channel, packet);
}

void Simulator::report(Happening happening) {
  history.push_back(std::move(happening));
  if (on_happening) {
    on_happening(history.back());
  }
}

void Simulator::answer(int number, std::span<const uint8_t> request) {
  report({Happening::What::kReceived, number, {request.begin(), request.end()}, ""});
  const PacketKind kind = classify(request);
  if (kind == PacketKind::kHello) {
    greeted_channel = number;
  }
  if (!is_answered(kind)) {
    return;
  }
  const auto replaced = take_replaced(&replaced_answers, kind);
  if (replaced && replaced->silent) {
    for (int i = 0; !is_session_request(kind) && i < kReadAttempts; ++i) {
      push(number, {});
    }
    return;
  }
  if (kind == PacketKind::kNvramSet) {
    if (const std::string error = set_variable(nvram_name(request), nvram_value(request));
        !error.empty()) {
      report({Happening::What::kNote, -1, {}, error});
    }
  }
  Bytes packet = true_answer(*this, kind, request);
  if (replaced) {
    change_answer(&packet, *replaced);
  }
  push(number, packet);
}

std::string Simulator::set_variable(const std::string& name, const std::optional<Bytes>& value) {
  if (value) {
    variables[name] = *value;
  } else {
    variables.erase(name);
  }
  return nvram_path.empty() ? "" : save_nvram(nvram_path, variables);
}

Channel* Simulator::find_channel(int number) {
  const auto channel = std::ranges::find(channels, number, &Channel::number);
  return channel == channels.end() || !channel->client.valid() ? nullptr : &*channel;
}
