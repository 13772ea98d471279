// SPDX-License-Identifier: Apache-2.0
#include "lab/sim/scenario.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "lab/sim/notification.h"
#include "lab/sim/options.h"
#include "lab/sim/simulator.h"
#include "wire/chif.h"

namespace {

// The trap OID of a BMC that announces its own reset holds "6061".
constexpr std::array<uint32_t, 10> kResetTrap = {1, 3, 6, 1, 4, 1, 32473, 1, 0, 6061};

constexpr const char* kNeedsHex = "raw needs pairs of hexadecimal digits";

// Reads seconds with a fraction.
std::optional<double> parse_seconds(std::string_view text) {
  constexpr double kMost = 1e6;
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool good = error == std::errc() && end == text.data() + text.size() &&
                    std::isfinite(seconds) && seconds >= 0 && seconds <= kMost;
  return good ? std::optional(seconds) : std::nullopt;
}

// "always", "off" or a count.
std::optional<int> parse_times(const std::string& text) {
  if (text == "always") {
    return -1;
  }
  const auto number = text == "off" ? 0 : parse_number(text, INT32_MAX);
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

std::optional<int> parse_error_name(const std::string& text) {
  using ErrorName = std::pair<std::string_view, int>;
  static constexpr std::array<ErrorName, 8> kErrors = {{{"EBUSY", EBUSY},
                                                        {"EIO", EIO},
                                                        {"EAGAIN", EAGAIN},
                                                        {"EINTR", EINTR},
                                                        {"ENODEV", ENODEV},
                                                        {"ENXIO", ENXIO},
                                                        {"EPIPE", EPIPE},
                                                        {"nothing", 0}}};
  const auto* entry = std::ranges::find(kErrors, text, &ErrorName::first);
  const auto number = entry != kErrors.end() ? entry->second : parse_number(text, INT32_MAX);
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

// As many numbers as there are limits, with a separator between them.
std::optional<std::vector<uint32_t>> parse_numbers(std::string_view text, char separator,
                                                   std::initializer_list<uint32_t> limits) {
  std::vector<uint32_t> numbers;
  for (const uint32_t most : limits) {
    const bool last = numbers.size() + 1 == limits.size();
    const size_t end = last ? text.size() : text.find(separator);
    const auto number = parse_number(text.substr(0, end), most);
    if (!number || end == std::string_view::npos) {
      return std::nullopt;
    }
    numbers.push_back(static_cast<uint32_t>(*number));
    text.remove_prefix(last ? end : end + 1);
  }
  return numbers;
}

std::optional<std::pair<uint8_t, uint8_t>> parse_firmware(std::string_view text) {
  const auto numbers = parse_numbers(text, '.', {UINT8_MAX, UINT8_MAX});
  return numbers ? std::optional(std::pair<uint8_t, uint8_t>((*numbers)[0], (*numbers)[1]))
                 : std::nullopt;
}

std::optional<uint32_t> parse_date(std::string_view text) {
  constexpr uint32_t kLastYear = 2053;
  const auto numbers = parse_numbers(text, '-', {kLastYear, 12, 31});
  const bool good = numbers && (*numbers)[0] >= chif::mox_status::kFirstYear && (*numbers)[1] > 0 &&
                    (*numbers)[2] > 0;
  return good ? std::optional(pack_date((*numbers)[0], (*numbers)[1], (*numbers)[2]))
              : std::nullopt;
}

// ADDRESS or ADDRESS/STATE, several with commas.
std::optional<std::vector<Ipv6Entry>> parse_ipv6_entries(const std::string& text) {
  std::vector<Ipv6Entry> entries;
  std::istringstream pieces(text);
  for (std::string piece; std::getline(pieces, piece, ',');) {
    const size_t slash = std::min(piece.find('/'), piece.size());
    const auto address = parse_ipv6(piece.substr(0, slash));
    const auto state = slash == piece.size() ? 0 : parse_number(piece.substr(slash + 1), UINT8_MAX);
    if (!address || !state) {
      return std::nullopt;
    }
    entries.push_back({*address, static_cast<uint8_t>(*state)});
  }
  const bool good = !entries.empty() && entries.size() <= chif::ipv6_address::kEntries;
  return good ? std::optional(entries) : std::nullopt;
}

FieldChanges take_fields(Options& options, bool of_answer = false) {
  FieldChanges changes;
  for (const Field& field : kFields) {
    std::optional<uint32_t> value;
    const auto parse = [&](std::string_view text) { return parse_number(text, field.most()); };
    if (of_answer || !field.of_answer) {
      options.take_as(field.name, parse, &value);
    }
    if (value) {
      changes.values[field.name] = *value;
    }
  }
  const auto parse_size = [](std::string_view text) {
    return parse_number(text, chif::kPacketMax);
  };
  options.take_as("size", parse_size, &changes.size);
  return changes;
}

// A packet with the fields changed that the options name.
Event push(Bytes packet, const FieldChanges& changes) {
  change_fields(&packet, changes);
  return PushEvent{std::move(packet), changes.values.contains("seqno")};
}

Event read_wait(Options& options) {
  return WaitEvent{
      options.require(parse_seconds(options.take_only_word()), "wait needs a number of seconds")};
}

Event read_expect(Options& options) {
  std::string what = options.take_word();
  if (what == "ack") {
    what += "-" + options.take_word();
  }
  ExpectEvent event;
  if (const auto text = options.take("limit")) {
    event.limit_seconds =
        options.require(parse_seconds(*text), "not a number of seconds: limit=" + *text);
  }
  if (what == "open") {
    event.what = ExpectEvent::What::kOpened;
  } else if (what == "close") {
    event.what = ExpectEvent::What::kClosed;
  } else if (what == "drained") {
    event.what = ExpectEvent::What::kDrained;
  } else {
    event.kind = options.require(kind_from_name(what), "unknown thing to expect: " + what);
  }
  return event;
}

// The options and bindings that follow a notification's trap OID.
Event finish_notification(SentNotification notification, Options& options) {
  options.take_number<uint32_t>("uptime", &notification.uptime);
  options.take_number<uint8_t>("type", &notification.pdu_type);
  options.take_number<uint32_t>("payload", &notification.payload_length);
  const FieldChanges changes = take_fields(options);
  for (const std::string& word : options.take_rest()) {
    std::string error;
    if (const auto binding = parse_binding(word, &error)) {
      notification.bindings.push_back(*binding);
    }
    options.fail(error);
  }
  Bytes packet = notification_packet(build_notify(notification));
  if (packet.size() > chif::kPacketMax && !changes.size) {
    options.fail("the notification has " + std::to_string(packet.size()) +
                 " bytes, and a packet at most " + std::to_string(chif::kPacketMax));
  }
  return push(std::move(packet), changes);
}

Event read_notify(Options& options) {
  const std::string trap = options.take_word();
  SentNotification notification;
  if (trap != "-") {
    notification.trap_oid = parse_oid(trap).value_or(OidNumbers{});
    if (!is_encodable(notification.trap_oid)) {
      options.fail("notify needs a trap OID that begins with 1.3.6.1, or - for none: " + trap);
      return {};
    }
  }
  return finish_notification(std::move(notification), options);
}

Event read_reset(Options& options) {
  SentNotification notification;
  notification.trap_oid = {kResetTrap.begin(), kResetTrap.end()};
  return finish_notification(std::move(notification), options);
}

Event read_log(Options& options) {
  if (options.empty()) {
    options.fail("something is missing at the end");
  }
  Bytes packet = log_packet(options.take_word());
  uint16_t length = get_u16(packet, chif::log_text::kLength);
  options.take_number<uint16_t>("length", &length);
  put_u16(packet, chif::log_text::kLength, length);
  return push(std::move(packet), take_fields(options));
}

template <uint32_t usual_action>
Event read_shutdown(Options& options) {
  uint32_t action = usual_action;
  uint32_t delay = 0;
  options.take_number<uint32_t>("action", &action);
  options.take_as("delay", parse_word, &delay);
  const std::string reason = options.take("reason").value_or("");
  return push(shutdown_packet(action, static_cast<int32_t>(delay), reason), take_fields(options));
}

Event read_status(Options& options) {
  const auto command = options.require(parse_number(options.take_word(), UINT16_MAX),
                                       "status needs a command code, 0x0094, 0x8094 or 0x8194");
  uint32_t error = 0;
  options.take_number<uint32_t>("error", &error);
  return push(status_packet(static_cast<uint16_t>(command), error), take_fields(options));
}

Event read_hello_response(Options& options) {
  return push(hello_response_packet(chif::kCmdHelloResponse), take_fields(options));
}

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) {
    text += (text.empty() ? "" : " ") + word;
  }
  return text;
}

Event read_raw(Options& options) {
  const Bytes bytes = options.require(parse_hex(joined(options.take_rest())), kNeedsHex);
  if (bytes.size() > chif::kPacketMax) {
    options.fail("a packet has at most " + std::to_string(chif::kPacketMax) + " bytes");
  }
  return PushEvent{bytes, true};
}

// "seqno=+3" and "seqno=-1" are relative; a bare number is absolute.
void take_seqno_offset(Options& options, AnswerEvent* event) {
  for (const int sign : {1, -1}) {
    if (const auto text = options.take("seqno", sign > 0 ? "+" : "-")) {
      const auto number = parse_number(text->substr(1), UINT16_MAX);
      event->seqno_offset =
          sign *
          static_cast<int>(options.require(
              number, "seqno needs a number, with + or - for one relative to the request's"));
    }
  }
}

Event read_answer(Options& options) {
  AnswerEvent event;
  const std::string name = options.take_word();
  event.kind = kind_from_name(name);
  if (name != "any" && !is_answered(event.kind.value_or(PacketKind::kUnknown))) {
    options.fail("not a request that is answered: " + name);
  }
  options.take_number<int>("times", &event.times);
  if (const auto raw = options.take("raw")) {
    event.packet = options.require(parse_hex(*raw), kNeedsHex);
  }
  take_seqno_offset(options, &event);
  event.fields = take_fields(options, true);
  event.normal = options.take_flag("normal");
  event.silent = options.take_flag("silent");
  return event;
}

Event read_busy(Options& options) {
  return FaultEvent{FaultEvent::Call::kWrite, EBUSY,
                    options.require(parse_times(options.take_only_word()),
                                    "busy needs a number of writes, always or off")};
}

Event read_fail(Options& options) {
  const std::string call = options.take_word();
  if (call != "write" && call != "read") {
    options.fail("fail needs write or read");
  }
  const int error = options.require(parse_error_name(options.take_word()),
                                    "fail needs an error such as EIO, or nothing");
  const int times = options.require(parse_times(options.take("times").value_or("1")),
                                    "times needs a number of calls, always or off");
  return FaultEvent{call == "write" ? FaultEvent::Call::kWrite : FaultEvent::Call::kRead, error,
                    times};
}

template <bool occupied>
Event read_channels(Options& options) {
  const std::string range = options.take_only_word();
  const size_t dash = range.find('-');
  const auto first = parse_number(range.substr(0, dash), kLastChannel);
  const auto last =
      dash == std::string::npos ? first : parse_number(range.substr(dash + 1), kLastChannel);
  if (!first || !last || *first > *last) {
    options.fail("a channel is a number from 0 to 15, and several are FIRST-LAST");
  }
  return OccupyEvent{static_cast<int>(first.value_or(0)), static_cast<int>(last.value_or(0)),
                     occupied};
}

Event read_nvram(Options& options) {
  const std::string word = options.take_word();
  if (options.take_flag("absent")) {
    return VariableEvent{word, std::nullopt};
  }
  const auto variable =
      options.require(parse_variable(word), "nvram needs NAME=HEX or NAME absent");
  return VariableEvent{variable.first, variable.second};
}

Event read_bmc(Options& options) {
  IdentityEvent event;
  options.take_number<int8_t>("generation", &event.generation);
  options.take_as("firmware", parse_firmware, &event.firmware);
  options.take_as("date", parse_date, &event.firmware_date);
  options.take_as("ipv4", parse_ipv4, &event.ipv4);
  options.take_number<uint32_t>("ipv6-options", &event.ipv6_options);
  options.take_as("ipv6", parse_ipv6_entries, &event.ipv6_entries);
  return event;
}

Event read_note(Options& options) {
  return NoteEvent{joined(options.take_rest())};
}

// One that takes no words; the name is for the error.
template <typename Kind>
Event read_bare(Options& options, const std::string& name) {
  if (!options.take_rest().empty()) {
    options.fail(name + " has no options");
  }
  return Kind{};
}
Event read_hangup(Options& options) {
  return read_bare<HangupEvent>(options, "hangup");
}
Event read_quit(Options& options) {
  return read_bare<QuitEvent>(options, "quit");
}

Event read_help(Options& options) {
  read_bare<NoteEvent>(options, "help");
  return NoteEvent{help_text()};
}

constexpr std::array<Verb, 22> kVerbs = {{
    {"wait", "SECONDS", "let time pass", read_wait},
    {"expect", "WHAT [limit=SECONDS]", "wait until the host did something", read_expect},
    {"note", "TEXT", "write a text to the output", read_note},
    {"help", "", "list the events", read_help},
    {"quit", "", "end here", read_quit},
    {"notify", "OID [uptime=N] [type=N] [payload=N] BINDING...", "send a notification",
     read_notify},
    {"reset", "[uptime=N]", "announce the BMC's own reset", read_reset},
    {"log", "TEXT [length=N]", "send a text for the host's log", read_log},
    {"shutdown", "[delay=N] [reason=TEXT] [action=N]", "ask the host to power off",
     read_shutdown<chif::shutdown::kPowerOff>},
    {"reboot", "[delay=N] [reason=TEXT] [action=N]", "ask the host to reboot",
     read_shutdown<chif::shutdown::kReboot>},
    {"abort", "[delay=N] [reason=TEXT] [action=N]", "ask the host to forget about it",
     read_shutdown<chif::shutdown::kAbort>},
    {"status", "CODE [error=N]", "send a status packet", read_status},
    {"hello-response", "", "send an answer that nobody asked for", read_hello_response},
    {"raw", "HEX...", "send any bytes", read_raw},
    {"hangup", "", "close the channel from the BMC's side", read_hangup},
    {"answer", "REQUEST CHANGE... [times=N]", "answer differently from now on", read_answer},
    {"busy", "N|always|off", "let the host's next writes fail with EBUSY", read_busy},
    {"fail", "write|read ERROR [times=N|always|off]", "let the host's next calls fail", read_fail},
    {"occupy", "FIRST[-LAST]", "take channels away from the host", read_channels<true>},
    {"release", "FIRST[-LAST]", "give channels back", read_channels<false>},
    {"nvram", "NAME=HEX | NAME absent", "set or remove a variable", read_nvram},
    {"bmc",
     "[generation=N] [firmware=MAJOR.MINOR] [date=YEAR-MONTH-DAY] [ipv4=ADDRESS] [ipv6-options=N] "
     "[ipv6=ADDRESS/STATE,...]",
     "change what the BMC tells about itself", read_bmc},
}};

}  // namespace

std::span<const Verb> verbs() {
  return kVerbs;
}

std::string usage(const Verb& verb) {
  return std::string(verb.name) + (verb.arguments.empty() ? "" : " ") + std::string(verb.arguments);
}

std::string help_text() {
  std::string text;
  for (const Verb& verb : kVerbs) {
    text += (text.empty() ? "" : "\n") + usage(verb) + ": " + std::string(verb.help);
  }
  return text;
}

ParsedEvent parse_event(std::string_view line) {
  const Words words = split_words(line);
  if (!words.error.empty() || words.words.empty()) {
    return {std::nullopt, words.error};
  }
  const auto* verb = std::ranges::find(kVerbs, words.words[0], &Verb::name);
  if (verb == kVerbs.end()) {
    return {std::nullopt, "unknown event: " + words.words[0]};
  }
  Options options(std::span(words.words).subspan(1));
  Event event = verb->read(options);
  std::string error = options.finish();
  return error.empty() ? ParsedEvent{std::move(event), ""} : ParsedEvent{std::nullopt, error};
}

Scenario parse_scenario(std::string_view text, const std::string& name) {
  Scenario scenario;
  scenario.name = name;
  std::istringstream lines{std::string(text)};
  std::string line;
  for (int next = 1; std::getline(lines, line); ++next) {
    const int number = next;
    std::string more;
    while (line.ends_with('\\') && std::getline(lines, more)) {
      line.replace(line.size() - 1, 1, " " + more);
      ++next;
    }
    ParsedEvent parsed = parse_event(line);
    if (!parsed.error.empty()) {
      scenario.error = name + ":" + std::to_string(number) + ": " + parsed.error;
      break;
    }
    if (parsed.event) {
      scenario.lines.push_back({number, line, std::move(*parsed.event)});
    }
  }
  return scenario;
}

Scenario load_scenario(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  if (!file || (file.peek() != std::ifstream::traits_type::eof() && !(text << file.rdbuf())) ||
      file.bad()) {
    Scenario scenario;
    scenario.name = path;
    scenario.error = path + ": cannot read: " + std::strerror(errno);
    return scenario;
  }
  return parse_scenario(text.str(), path);
}
