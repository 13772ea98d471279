#include "lab/sim/options.h"

#include <algorithm>
#include <utility>

#include "wire/chif.h"

namespace {

constexpr uint32_t kLastYear = 2053;

bool has_key(const std::string& word, std::string_view key) {
  return word.size() > key.size() && word.starts_with(key) && word[key.size()] == '=';
}

// Splits at every separator.
std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (true) {
    const size_t end = text.find(separator);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      return pieces;
    }
    text.remove_prefix(end + 1);
  }
}

template <typename Number>
std::optional<Number> narrow(std::optional<uint64_t> number) {
  return number ? std::optional(static_cast<Number>(*number)) : std::nullopt;
}

std::optional<std::pair<uint8_t, uint8_t>> parse_firmware(std::string_view text) {
  const auto pieces = split(text, '.');
  if (pieces.size() != 2) {
    return std::nullopt;
  }
  const auto major = parse_number(pieces[0], UINT8_MAX);
  const auto minor = parse_number(pieces[1], UINT8_MAX);
  if (!major || !minor) {
    return std::nullopt;
  }
  return std::pair(static_cast<uint8_t>(*major), static_cast<uint8_t>(*minor));
}

std::optional<uint32_t> parse_date(std::string_view text) {
  const auto pieces = split(text, '-');
  if (pieces.size() != 3) {
    return std::nullopt;
  }
  const auto year = parse_number(pieces[0], kLastYear);
  const auto month = parse_number(pieces[1], 12);
  const auto day = parse_number(pieces[2], 31);
  if (!year || !month || !day || *year < chif::mox_status::kFirstYear || *month == 0 || *day == 0) {
    return std::nullopt;
  }
  return pack_date(static_cast<uint32_t>(*year), static_cast<uint32_t>(*month),
                   static_cast<uint32_t>(*day));
}

// ADDRESS or ADDRESS/STATE, several with commas.
std::optional<std::vector<Ipv6Entry>> parse_ipv6_entries(std::string_view text) {
  std::vector<Ipv6Entry> entries;
  for (const std::string_view piece : split(text, ',')) {
    const auto halves = split(piece, '/');
    const auto address = parse_ipv6(halves[0]);
    const auto state = halves.size() == 2 ? parse_number(halves[1], UINT8_MAX) : 0;
    if (!address || !state || halves.size() > 2) {
      return std::nullopt;
    }
    entries.push_back({*address, static_cast<uint8_t>(*state)});
  }
  return entries.size() <= chif::ipv6_address::kEntries ? std::optional(entries) : std::nullopt;
}

// Takes a value and parses it; a value that does not parse is an error.
template <typename Parse>
auto take_parsed(Options* options, std::string_view key, Parse parse)
    -> decltype(parse(std::string_view())) {
  const auto text = options->take(key);
  if (!text) {
    return std::nullopt;
  }
  auto value = parse(*text);
  if (!value) {
    options->fail("not a good value: " + std::string(key) + "=" + *text);
  }
  return value;
}

}  // namespace

std::string Options::take_word() {
  if (left_.empty()) {
    fail("something is missing at the end");
    return "";
  }
  std::string word = std::move(left_.front());
  left_.erase(left_.begin());
  return word;
}

std::optional<std::string> Options::take(std::string_view key) {
  const auto word =
      std::ranges::find_if(left_, [key](const std::string& text) { return has_key(text, key); });
  if (word == left_.end()) {
    return std::nullopt;
  }
  std::string value = word->substr(key.size() + 1);
  left_.erase(word);
  return value;
}

std::optional<std::string> Options::peek(std::string_view key) const {
  const auto word =
      std::ranges::find_if(left_, [key](const std::string& text) { return has_key(text, key); });
  return word == left_.end() ? std::nullopt : std::optional(word->substr(key.size() + 1));
}

std::optional<uint64_t> Options::take_number(std::string_view key, uint64_t most) {
  return take_parsed(this, key, [most](std::string_view text) { return parse_number(text, most); });
}

std::optional<int64_t> Options::take_signed(std::string_view key) {
  const auto word = take_parsed(this, key, parse_word);
  return word ? std::optional<int64_t>(static_cast<int32_t>(*word)) : std::nullopt;
}

std::vector<std::string> Options::take_rest() {
  return std::exchange(left_, {});
}

void Options::finish() {
  if (!left_.empty()) {
    fail("unknown option: " + left_.front());
  }
}

void Options::fail(const std::string& error) {
  if (error_.empty()) {
    error_ = error;
  }
}

FieldChanges take_fields(Options* options) {
  FieldChanges changes;
  changes.pktsize = narrow<uint16_t>(options->take_number("pktsize", UINT16_MAX));
  changes.seqno = narrow<uint16_t>(options->take_number("seqno", UINT16_MAX));
  changes.cmdno = narrow<uint16_t>(options->take_number("cmdno", UINT16_MAX));
  changes.svc = narrow<uint16_t>(options->take_number("svc", UINT16_MAX));
  changes.errcode = narrow<uint32_t>(options->take_number("errcode", UINT32_MAX));
  changes.idx = narrow<uint16_t>(options->take_number("idx", UINT16_MAX));
  changes.more = narrow<uint16_t>(options->take_number("more", UINT16_MAX));
  changes.resplen = narrow<uint32_t>(options->take_number("resplen", UINT32_MAX));
  changes.size = narrow<size_t>(options->take_number("size", chif::kPacketMax));
  return changes;
}

IdentityEvent take_identity(Options* options) {
  IdentityEvent event;
  event.generation = narrow<int8_t>(options->take_number("generation", INT8_MAX));
  event.firmware = take_parsed(options, "firmware", parse_firmware);
  event.firmware_date = take_parsed(options, "date", parse_date);
  event.ipv4 = take_parsed(options, "ipv4", parse_ipv4);
  event.ipv6_options = narrow<uint32_t>(options->take_number("ipv6-options", UINT32_MAX));
  event.ipv6_entries = take_parsed(options, "ipv6", parse_ipv6_entries);
  return event;
}
