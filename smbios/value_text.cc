// SPDX-License-Identifier: Apache-2.0
#include "smbios/value_text.h"

#include <algorithm>
#include <span>

#include "smbios/value_size.h"

namespace {

constexpr uint16_t kUuidIsLittleEndianFrom = 0x0206;

Raw raw_of(const StructureView& structure, const SmbStandardField& field, size_t offset) {
  uint64_t number = number_at(structure, offset, field.width);
  if (field.bit_count != 0) {
    number = number >> field.first_bit & ((uint64_t{1} << field.bit_count) - 1);
  }
  const bool elsewhere = field.extended != 0 && number == field.extended_mark &&
                         length_of(structure) >= size_t{field.extended} + field.extended_width;
  return elsewhere ? Raw{number_at(structure, field.extended, field.extended_width), true}
                   : Raw{number, false};
}

void append_with(std::string& characters, uint64_t number, const char* unit) {
  append_decimal(characters, number);
  if (unit != nullptr) {
    if (*unit != '%') {
      characters += ' ';
    }
    characters += unit;
  }
}

void append_fraction_with(std::string& characters, int64_t number, unsigned digits,
                          const char* unit) {
  append_fraction(characters, number, digits);
  characters += unit;
}

// Numbers of 16 bits that count a part of what they are shown in.
struct Fraction {
  SmbValueKind kind;
  unsigned digits;
  const char* unit;
  bool is_signed;
};
constexpr Fraction kFractions[] = {
    {kSmbKindMillivolts, 3, " V", true},
    {kSmbKindMilliamperes, 3, " A", true},
    {kSmbKindTenthsOfDegree, 1, " deg C", true},
    {kSmbKindTenthsOfMillivolt, 1, " mV", false},
    {kSmbKindTenthsOfMilliampere, 1, " mA", false},
    {kSmbKindThousandthsOfDegree, 3, " deg C", false},
    {kSmbKindHundredthsOfPercent, 2, "%", false},
    {kSmbKindHundredthsOfMillimetre, 2, " mm", false},
};

// False when the kind is no such number.
bool append_fraction_field(Draft& value, std::string& characters) {
  const auto* found = std::ranges::find(kFractions, value.field->kind, &Fraction::kind);
  if (found == std::end(kFractions)) {
    return false;
  }
  const auto number = found->is_signed ? int64_t{static_cast<int16_t>(value.number)}
                                       : static_cast<int64_t>(value.number);
  value.number = static_cast<uint64_t>(number);
  append_fraction_with(characters, number, found->digits, found->unit);
  return true;
}

void append_text_field(const StructureView& structure, Draft& value, std::string& characters) {
  if (value.number == 0) {
    special(value, characters, "Not Specified");
  } else {
    append_printable(characters, structure.texts[value.number]);
  }
}

void append_enumeration(const SmbStandardField& field, Draft& value, std::string& characters) {
  if (word_for(field, value.number) == nullptr) {
    value.state = kSmbValueReserved;
  }
  append_word(characters, field, value.number);
}

void append_bytes(const StructureView& structure, const SmbStandardField& field, size_t offset,
                  std::string& characters) {
  for (size_t byte = 0; byte < field.width; ++byte) {
    if (byte != 0) {
      characters += ' ';
    }
    append_hex(characters, get_u8(structure.fields, offset + byte), 2);
  }
}

// The first three parts are numbers, and were of the other byte order up to 2.5.
void append_uuid(const StructureView& structure, size_t offset, Draft& value,
                 std::string& characters) {
  constexpr uint8_t kNetworkOrder[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  constexpr uint8_t kHostOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  const auto bytes = structure.fields.subspan(offset, std::size(kHostOrder));
  const auto all_are = [&](uint8_t wanted) {
    return std::ranges::all_of(bytes, [&](uint8_t byte) { return byte == wanted; });
  };
  value.number = 0;
  if (all_are(0xFF)) {
    special(value, characters, "Not Present");
  } else if (all_are(0)) {
    special(value, characters, "Not Settable");
  } else {
    const auto& order = structure.version >= kUuidIsLittleEndianFrom ? kHostOrder : kNetworkOrder;
    for (size_t place = 0; place < std::size(order); ++place) {
      if (place == 4 || place == 6 || place == 8 || place == 10) {
        characters += '-';
      }
      append_lower_hex(characters, bytes[order[place]], 2);
    }
  }
}

void append_revision(Draft& value, std::string& characters) {
  const uint64_t major = value.number & 0xFF;
  const uint64_t minor = value.number >> 8;
  if (major == 0xFF && minor == 0xFF) {
    special(value, characters, "Not Supported");
  } else {
    append_decimal(characters, major);
    characters += '.';
    append_decimal(characters, minor);
  }
}

void append_packed_byte(Draft& value, std::string& characters) {
  const uint64_t tens = value.number >> 4;
  const uint64_t ones = value.number & 0xF;
  if (tens > 9 || ones > 9) {
    special(value, characters, "*");
  } else {
    value.number = tens * 10 + ones;
    append_decimal(characters, tens);
    append_decimal(characters, ones);
  }
}

void append_date(uint64_t number, std::string& characters) {
  append_decimal(characters, 1980 + (number >> 9));
  for (const uint64_t part : {number >> 5 & 0xF, number & 0x1F}) {
    characters += part < 10 ? "-0" : "-";
    append_decimal(characters, part);
  }
}

void append_processor_voltage(Draft& value, std::string& characters) {
  constexpr std::string_view kLegacy[] = {"5.0 V", "3.3 V", "2.9 V"};
  if ((value.number & 0x80) != 0) {
    value.number &= 0x7F;
    append_fraction_with(characters, static_cast<int64_t>(value.number), 1, " V");
    return;
  }
  value.state = kSmbValueSpecial;
  const size_t start = characters.size();
  for (size_t bit = 0; bit < std::size(kLegacy); ++bit) {
    if ((value.number >> bit & 1) != 0) {
      characters += characters.size() == start ? "" : " ";
      characters += kLegacy[bit];
    }
  }
  if (characters.size() == start) {
    characters += "Unknown";
  }
}

// Without zeros at the end, but for one: 1.2, 1.35, 12.0.
void append_volts(uint64_t millivolts, std::string& characters) {
  append_fraction(characters, static_cast<int64_t>(millivolts), 3);
  while (characters.back() == '0' && characters[characters.size() - 2] != '.') {
    characters.pop_back();
  }
  characters += " V";
}

void append_scaled_capacity(const StructureView& structure, Draft& value, std::string& characters) {
  constexpr size_t kMultiplier = 0x15;
  value.number *= length_of(structure) > kMultiplier ? number_at(structure, kMultiplier, 1) : 1;
  append_with(characters, value.number, "mWh");
}

// The lowest bit of the address says what it addresses; the modifier has the
// address's own.
void append_ipmi_address(const StructureView& structure, Draft& value, std::string& characters) {
  constexpr size_t kInterfaceType = 4;
  constexpr size_t kModifier = 0x10;
  constexpr uint64_t kSsif = 4;
  characters += "0x";
  if (number_at(structure, kInterfaceType, 1) == kSsif) {
    value.number = (value.number & 0xFF) >> 1;
    append_hex(characters, value.number, 2);
    characters += " (SMBus)";
    return;
  }
  const bool io = (value.number & 1) != 0;
  value.number = (value.number & ~uint64_t{1}) | (number_at(structure, kModifier, 1) >> 4 & 1);
  append_hex(characters, value.number, 16);
  characters += io ? " (I/O)" : " (Memory-mapped)";
}

void append_vendor_id(const StructureView& structure, size_t offset, std::string& characters) {
  const auto bytes = structure.fields.subspan(offset, 4);
  const auto end = std::ranges::find(bytes, uint8_t{0});
  append_printable(characters, std::string_view(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<size_t>(end - bytes.begin())));
}

void append_tpm_firmware(const StructureView& structure, Draft& value, std::string& characters) {
  constexpr size_t kSpecificationMajor = 8;
  const bool first = number_at(structure, kSpecificationMajor, 1) == 1;
  append_decimal(characters, first ? value.number >> 16 & 0xFF : value.number >> 16);
  characters += '.';
  append_decimal(characters, first ? value.number >> 24 : value.number & 0xFFFF);
}

void append_jedec_id(Draft& value, std::string& characters) {
  if (value.number == 0) {
    special(value, characters, "Unknown");
    return;
  }
  characters += "Bank ";
  append_decimal(characters, (value.number & 0x7F) + 1);
  characters += ", Hex 0x";
  append_hex(characters, value.number >> 8, 2);
}

void append_address_field(const StructureView& structure, size_t offset, Draft& value,
                          std::string& characters) {
  if (value.number == 0xFFFFFFFF) {
    special(value, characters, "Not Applicable");
  } else {
    append_pci_address(characters, structure, offset);
  }
}

// A field whose words did not say it all.
void append_quantity(const StructureView& structure, size_t offset, const Raw& raw, Draft& value,
                     std::string& characters) {
  const SmbStandardField& field = *value.field;
  const uint64_t number = value.number;
  switch (static_cast<unsigned>(field.kind)) {
    case kSmbKindText:
      return append_text_field(structure, value, characters);
    case kSmbKindEnumeration:
      return append_enumeration(field, value, characters);
    case kSmbKindHex:
    case kSmbKindHandle:
      characters += "0x";
      return append_hex(characters, number, size_t{field.width} * 2);
    case kSmbKindYesNo:
      characters += number == 0 ? "No" : "Yes";
      return;
    case kSmbKindBytes:
      return append_bytes(structure, field, offset, characters);
    case kSmbKindUuid:
      return append_uuid(structure, offset, value, characters);
    case kSmbKindRevision:
      return append_revision(value, characters);
    case kSmbKindPackedBytes:
      return append_packed_byte(value, characters);
    case kSmbKindPackedRevision:
      append_decimal(characters, number >> 4);
      characters += '.';
      return append_decimal(characters, number & 0xF);
    case kSmbKindPackedDate:
      return append_date(number, characters);
    case kSmbKindPciAddress:
      return append_address_field(structure, offset, value, characters);
    case kSmbKindSegmentAddress:
      value.number = number << 4;
      characters += "0x";
      return append_hex(characters, value.number, 5);
    case kSmbKindProcessorVoltage:
      return append_processor_voltage(value, characters);
    case kSmbKindVolts:
      return append_volts(number, characters);
    case kSmbKindScaledCapacity:
      return append_scaled_capacity(structure, value, characters);
    case kSmbKindIpmiAddress:
      return append_ipmi_address(structure, value, characters);
    case kSmbKindVendorId:
      return append_vendor_id(structure, offset, characters);
    case kSmbKindTpmFirmware:
      return append_tpm_firmware(structure, value, characters);
    case kSmbKindJedecId:
      return append_jedec_id(value, characters);
    default:
      if (!append_fraction_field(value, characters) && !append_size_field(raw, value, characters)) {
        append_with(characters, number, field.unit);
      }
  }
}

}  // namespace

const char* word_for(const SmbStandardField& field, uint64_t value) {
  const std::span words(field.words, field.word_count);
  const auto found = std::ranges::lower_bound(words, value, {}, &SmbWord::value);
  if (found != words.end() && found->value == value) {
    return found->text;
  }
  // The last of those that stand for all from one value on.
  const auto above = std::ranges::upper_bound(words, value + SMB_WORD_FROM, {}, &SmbWord::value);
  return above != words.begin() && (above - 1)->value >= SMB_WORD_FROM &&
                 (above - 1)->value < 2 * SMB_WORD_FROM
             ? (above - 1)->text
             : nullptr;
}

void append_word(std::string& characters, const SmbStandardField& field, uint64_t value) {
  if (const char* word = word_for(field, value); word != nullptr) {
    characters += word;
  } else {
    characters += "Reserved (0x";
    append_hex(characters, value, 2);
    characters += ')';
  }
}

void append_pci_address(std::string& characters, const StructureView& structure, size_t offset) {
  const uint64_t device_function = number_at(structure, offset + 3, 1);
  append_lower_hex(characters, number_at(structure, offset, 2), 4);
  characters += ':';
  append_lower_hex(characters, number_at(structure, offset + 2, 1), 2);
  characters += ':';
  append_lower_hex(characters, device_function >> 3, 2);
  characters += '.';
  append_lower_hex(characters, device_function & 7, 1);
}

void decode_single(const StructureView& structure, const SmbStandardField& field, size_t offset,
                   Drafts& drafts) {
  const Raw raw = raw_of(structure, field, offset);
  if (field.kind == kSmbKindText && raw.number > structure.text_count) {
    return;
  }
  Draft& value = begin_value(drafts, field, raw.number);
  // The words of a number are for the place that it is extended from, but for 0.
  const bool has_words = field.kind != kSmbKindEnumeration && (!raw.extended || raw.number == 0);
  const char* word = has_words ? word_for(field, raw.number) : nullptr;
  if (word != nullptr) {
    special(value, drafts.characters, word);
  } else {
    append_quantity(structure, offset, raw, value, drafts.characters);
  }
  end_text(drafts);
}
