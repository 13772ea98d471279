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

using Arguments = std::span<const std::string>;

// The trap OID of a BMC that announces its own reset holds "6061".
constexpr std::array<uint32_t, 10> kResetTrap = {1, 3, 6, 1, 4, 1, 32473, 1, 0, 6061};

ParsedEvent failed(const std::string& error) {
  return {std::nullopt, error};
}

// The event, unless the options had an error.
ParsedEvent finished(const Options& options, Event event) {
  return options.error().empty() ? ParsedEvent{std::move(event), ""} : failed(options.error());
}

// Reads seconds with a fraction.
std::optional<double> parse_seconds(std::string_view text) {
  constexpr double kMost = 1e6;
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(seconds) ||
      seconds < 0 || seconds > kMost) {
    return std::nullopt;
  }
  return seconds;
}

// A packet with the fields changed that the options name.
ParsedEvent push(Bytes packet, Options* options) {
  const FieldChanges changes = take_fields(options);
  options->finish();
  change_fields(&packet, changes);
  return finished(*options, PushEvent{std::move(packet), changes.seqno.has_value()});
}

ParsedEvent parse_wait(Arguments arguments) {
  const auto seconds = arguments.size() == 1 ? parse_seconds(arguments[0]) : std::nullopt;
  return seconds ? ParsedEvent{WaitEvent{*seconds}, ""} : failed("wait needs a number of seconds");
}

ParsedEvent parse_expect(Arguments arguments) {
  Options options(arguments);
  std::string what = options.take_word();
  if (what == "ack") {
    what += "-" + options.take_word();
  }
  ExpectEvent event;
  if (const auto text = options.take("limit")) {
    const auto seconds = parse_seconds(*text);
    if (!seconds) {
      return failed("not a number of seconds: limit=" + *text);
    }
    event.limit_seconds = *seconds;
  }
  if (what == "open") {
    event.what = ExpectEvent::What::kOpened;
  } else if (what == "close") {
    event.what = ExpectEvent::What::kClosed;
  } else if (what == "drained") {
    event.what = ExpectEvent::What::kDrained;
  } else if (const auto kind = kind_from_name(what)) {
    event.kind = *kind;
  } else {
    return failed("unknown thing to expect: " + what);
  }
  options.finish();
  return finished(options, event);
}

// The options and bindings that follow a notification's trap OID.
ParsedEvent finish_notification(SentNotification notification, Options* options) {
  if (const auto uptime = options->take_number("uptime", UINT32_MAX)) {
    notification.uptime = static_cast<uint32_t>(*uptime);
  }
  if (const auto type = options->take_number("type", UINT8_MAX)) {
    notification.pdu_type = static_cast<uint8_t>(*type);
  }
  if (const auto length = options->take_number("payload", UINT32_MAX)) {
    notification.payload_length = static_cast<uint32_t>(*length);
  }
  const FieldChanges changes = take_fields(options);
  for (const std::string& word : options->take_rest()) {
    std::string error;
    const auto binding = parse_binding(word, &error);
    if (!binding) {
      return failed(error);
    }
    notification.bindings.push_back(*binding);
  }
  Bytes packet = notification_packet(build_notify(notification));
  if (packet.size() > chif::kPacketMax && !changes.size) {
    return failed("the notification has " + std::to_string(packet.size()) +
                  " bytes, and a packet at most " + std::to_string(chif::kPacketMax));
  }
  change_fields(&packet, changes);
  return finished(*options, PushEvent{std::move(packet), changes.seqno.has_value()});
}

ParsedEvent parse_notify(Arguments arguments) {
  Options options(arguments);
  const std::string trap = options.take_word();
  SentNotification notification;
  if (trap != "-") {
    const auto oid = parse_oid(trap);
    if (!oid || !is_encodable(*oid)) {
      return failed("notify needs a trap OID that begins with 1.3.6.1, or - for none: " + trap);
    }
    notification.trap_oid = *oid;
  }
  return finish_notification(std::move(notification), &options);
}

ParsedEvent parse_reset(Arguments arguments) {
  Options options(arguments);
  SentNotification notification;
  notification.trap_oid = {kResetTrap.begin(), kResetTrap.end()};
  return finish_notification(std::move(notification), &options);
}

ParsedEvent parse_log(Arguments arguments) {
  Options options(arguments);
  Bytes packet = log_packet(options.take_word());
  if (const auto length = options.take_number("length", UINT16_MAX)) {
    put_u16(packet, chif::log_text::kLength, static_cast<uint16_t>(*length));
  }
  return push(std::move(packet), &options);
}

ParsedEvent parse_shutdown(Arguments arguments, uint32_t usual_action) {
  Options options(arguments);
  const auto action = options.take_number("action", UINT32_MAX).value_or(usual_action);
  const auto delay = options.take_signed("delay").value_or(0);
  const std::string reason = options.take("reason").value_or("");
  return push(shutdown_packet(static_cast<uint32_t>(action), static_cast<int32_t>(delay), reason),
              &options);
}

ParsedEvent parse_power_off(Arguments arguments) {
  return parse_shutdown(arguments, chif::shutdown::kPowerOff);
}
ParsedEvent parse_reboot(Arguments arguments) {
  return parse_shutdown(arguments, chif::shutdown::kReboot);
}
ParsedEvent parse_abort(Arguments arguments) {
  return parse_shutdown(arguments, chif::shutdown::kAbort);
}

ParsedEvent parse_status(Arguments arguments) {
  Options options(arguments);
  const auto command = parse_number(options.take_word(), UINT16_MAX);
  if (!command) {
    return failed("status needs a command code, 0x0094, 0x8094 or 0x8194");
  }
  const auto error = options.take_number("error", UINT32_MAX).value_or(0);
  return push(status_packet(static_cast<uint16_t>(*command), static_cast<uint32_t>(error)),
              &options);
}

ParsedEvent parse_hello_response(Arguments arguments) {
  Options options(arguments);
  return push(hello_response_packet(chif::kCmdHelloResponse), &options);
}

ParsedEvent parse_raw(Arguments arguments) {
  std::string text;
  for (const std::string& word : arguments) {
    text += word + " ";
  }
  const auto bytes = parse_hex(text);
  if (!bytes) {
    return failed("raw needs pairs of hexadecimal digits");
  }
  if (bytes->size() > chif::kPacketMax) {
    return failed("a packet has at most " + std::to_string(chif::kPacketMax) + " bytes");
  }
  return {PushEvent{*bytes, true}, ""};
}

// "normal", "silent" or the changes of an answer.
bool read_answer_word(AnswerEvent* event, const std::string& word) {
  event->normal = event->normal || word == "normal";
  event->silent = event->silent || word == "silent";
  return word == "normal" || word == "silent";
}

// "seqno=+3" and "seqno=-1" are relative; a bare number is absolute.
bool read_seqno_offset(AnswerEvent* event, Options* options) {
  const auto text = options->peek("seqno");
  if (!text || (!text->starts_with('+') && !text->starts_with('-'))) {
    return true;
  }
  options->take("seqno");
  const auto number = parse_number(text->substr(1), UINT16_MAX);
  const int sign = text->starts_with('-') ? -1 : 1;
  event->seqno_offset = number ? sign * static_cast<int>(*number) : 0;
  return number.has_value();
}

ParsedEvent parse_answer(Arguments arguments) {
  Options options(arguments);
  AnswerEvent event;
  const std::string name = options.take_word();
  event.kind = kind_from_name(name);
  const bool never_answered = event.kind == PacketKind::kLogAck ||
                              event.kind == PacketKind::kShutdownAck ||
                              event.kind == PacketKind::kUnknown;
  if ((!event.kind && name != "any") || never_answered) {
    return failed("not a request that is answered: " + name);
  }
  event.times = static_cast<int>(options.take_number("times", INT32_MAX).value_or(0));
  if (const auto raw = options.take("raw")) {
    event.packet = parse_hex(*raw);
    if (!event.packet) {
      return failed("raw needs pairs of hexadecimal digits");
    }
  }
  if (!read_seqno_offset(&event, &options)) {
    return failed("seqno needs a number, with + or - for one relative to the request's");
  }
  if (const auto code = options.take_number("completion", UINT8_MAX)) {
    event.completion = static_cast<uint8_t>(*code);
  }
  if (const auto status = options.take_number("status", UINT8_MAX)) {
    event.nvram_status = static_cast<uint8_t>(*status);
  }
  if (const auto length = options.take_number("length", UINT16_MAX)) {
    event.nvram_length = static_cast<uint16_t>(*length);
  }
  event.fields = take_fields(&options);
  for (const std::string& word : options.take_rest()) {
    if (!read_answer_word(&event, word)) {
      return failed("unknown option: " + word);
    }
  }
  return finished(options, event);
}

// "always", "off" or a count.
std::optional<int> parse_times(const std::string& text) {
  if (text == "always") {
    return -1;
  }
  const auto number = text == "off" ? std::optional<uint64_t>(0) : parse_number(text, INT32_MAX);
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

ParsedEvent parse_busy(Arguments arguments) {
  const auto times = arguments.size() == 1 ? parse_times(arguments[0]) : std::nullopt;
  return times ? ParsedEvent{FaultEvent{FaultEvent::Call::kWrite, EBUSY, *times}, ""}
               : failed("busy needs a number of writes, always or off");
}

std::optional<int> parse_error_name(const std::string& text) {
  struct ErrorName {
    std::string_view name;
    int value;
  };
  static constexpr std::array<ErrorName, 8> kErrors = {{{"EBUSY", EBUSY},
                                                        {"EIO", EIO},
                                                        {"EAGAIN", EAGAIN},
                                                        {"EINTR", EINTR},
                                                        {"ENODEV", ENODEV},
                                                        {"ENXIO", ENXIO},
                                                        {"EPIPE", EPIPE},
                                                        {"nothing", 0}}};
  const auto* entry = std::ranges::find(kErrors, text, &ErrorName::name);
  if (entry != kErrors.end()) {
    return entry->value;
  }
  const auto number = parse_number(text, INT32_MAX);
  return number ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

ParsedEvent parse_fail(Arguments arguments) {
  Options options(arguments);
  const std::string call = options.take_word();
  if (call != "write" && call != "read") {
    return failed("fail needs write or read");
  }
  const auto error = parse_error_name(options.take_word());
  const auto times = parse_times(options.take("times").value_or("1"));
  if (!error) {
    return failed("fail needs an error such as EIO, or nothing");
  }
  if (!times) {
    return failed("times needs a number of calls, always or off");
  }
  options.finish();
  return finished(options,
                  FaultEvent{call == "write" ? FaultEvent::Call::kWrite : FaultEvent::Call::kRead,
                             *error, *times});
}

ParsedEvent parse_channels(Arguments arguments, bool occupied) {
  const std::string range = arguments.size() == 1 ? arguments[0] : "";
  const size_t dash = range.find('-');
  const auto first = parse_number(range.substr(0, dash), kLastChannel);
  const auto last =
      dash == std::string::npos ? first : parse_number(range.substr(dash + 1), kLastChannel);
  if (!first || !last || *first > *last) {
    return failed("a channel is a number from 0 to 15, and several are FIRST-LAST");
  }
  return {OccupyEvent{static_cast<int>(*first), static_cast<int>(*last), occupied}, ""};
}

ParsedEvent parse_occupy(Arguments arguments) {
  return parse_channels(arguments, true);
}
ParsedEvent parse_release(Arguments arguments) {
  return parse_channels(arguments, false);
}

ParsedEvent parse_nvram(Arguments arguments) {
  if (arguments.size() == 2 && arguments[1] == "absent") {
    return {VariableEvent{arguments[0], std::nullopt}, ""};
  }
  const std::string word = arguments.size() == 1 ? arguments[0] : "";
  const size_t equals = word.find('=');
  const auto value =
      equals == std::string::npos ? std::nullopt : parse_hex(word.substr(equals + 1));
  if (!value || equals == 0) {
    return failed("nvram needs NAME=HEX or NAME absent");
  }
  return {VariableEvent{word.substr(0, equals), value}, ""};
}

ParsedEvent parse_bmc(Arguments arguments) {
  Options options(arguments);
  const IdentityEvent event = take_identity(&options);
  options.finish();
  return finished(options, event);
}

ParsedEvent parse_note(Arguments arguments) {
  std::string text;
  for (const std::string& word : arguments) {
    text += (text.empty() ? "" : " ") + word;
  }
  return {NoteEvent{text}, ""};
}

ParsedEvent parse_hangup(Arguments arguments) {
  return arguments.empty() ? ParsedEvent{HangupEvent{}, ""} : failed("hangup has no options");
}
ParsedEvent parse_quit(Arguments arguments) {
  return arguments.empty() ? ParsedEvent{QuitEvent{}, ""} : failed("quit has no options");
}

struct Verb {
  std::string_view name;
  ParsedEvent (*parse)(Arguments arguments);
};
constexpr std::array<Verb, 21> kVerbs = {{
    {"wait", parse_wait},       {"expect", parse_expect},
    {"notify", parse_notify},   {"reset", parse_reset},
    {"log", parse_log},         {"shutdown", parse_power_off},
    {"reboot", parse_reboot},   {"abort", parse_abort},
    {"status", parse_status},   {"hello-response", parse_hello_response},
    {"raw", parse_raw},         {"hangup", parse_hangup},
    {"answer", parse_answer},   {"busy", parse_busy},
    {"fail", parse_fail},       {"occupy", parse_occupy},
    {"release", parse_release}, {"nvram", parse_nvram},
    {"bmc", parse_bmc},         {"note", parse_note},
    {"quit", parse_quit},
}};

}  // namespace

ParsedEvent parse_event(std::string_view line) {
  const Words words = split_words(line);
  if (!words.error.empty()) {
    return failed(words.error);
  }
  if (words.words.empty()) {
    return {};
  }
  const Arguments arguments = std::span(words.words).subspan(1);
  const auto* verb = std::ranges::find(kVerbs, words.words[0], &Verb::name);
  if (verb == kVerbs.end()) {
    return failed("unknown event: " + words.words[0]);
  }
  return verb->parse(arguments);
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
