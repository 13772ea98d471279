// SPDX-License-Identifier: Apache-2.0
#include "ortinv/smbios_records_json.h"

#include <ortinv/smbios_records.h>

#include <cstring>
#include <span>
#include <string>
#include <utility>

namespace {

using Bytes = std::span<const uint8_t>;

// Fields may lie at odd addresses.
template <typename Value>
Value value_at(Bytes record, size_t offset) {
  Value value = {};
  memcpy(&value, record.subspan(offset, sizeof(Value)).data(), sizeof(Value));
  return value;
}

Json text_json(Bytes field) {
  const auto* text = reinterpret_cast<const char*>(field.data());
  return std::string(text, strnlen(text, field.size()));
}

Json bytes_json(Bytes field) {
  Json list = Json::array();
  for (const uint8_t byte : field) {
    list.push_back(byte);
  }
  return list;
}

Json port_maps_json(Bytes record, size_t offset, size_t count) {
  Json entries = Json::array();
  for (size_t i = 0; i < count; ++i) {
    Json& ports = entries.emplace_back(Json::array());
    const auto entry = value_at<GbxConnectorEntry>(record, offset + i * sizeof(GbxConnectorEntry));
    for (const GbxPortMap& port : entry.portMap) {
      ports.push_back({{"connection", port.connection}, {"bay", port.bay}});
    }
  }
  return entries;
}

Json field_json(const SmbField& field, Bytes record) {
  switch (field.kind) {
    case kSmbFieldText:
      return text_json(record.subspan(field.offset, field.size_or_count));
    case kSmbFieldU8:
      return value_at<uint8_t>(record, field.offset);
    case kSmbFieldU16:
      return value_at<uint16_t>(record, field.offset);
    case kSmbFieldU32:
      return value_at<uint32_t>(record, field.offset);
    case kSmbFieldBytes:
      return bytes_json(record.subspan(field.offset, field.size_or_count));
    case kSmbFieldPortMaps:
      return port_maps_json(record, field.offset, field.size_or_count);
  }
  return {};
}

}  // namespace

void append_smbios_records(Json& list, const SmbType& type, const void* records, uint32_t count) {
  const std::span fields(type.fields, type.field_count);
  const Bytes all(static_cast<const uint8_t*>(records), size_t{type.record_size} * count);
  for (uint32_t i = 0; i < count; ++i) {
    const Bytes record = all.subspan(size_t{type.record_size} * i, type.record_size);
    const auto header = value_at<SmbRecordHeader>(record, 0);
    // No key comes twice: it need not be looked for before it is added.
    Json::object_t object;
    object.reserve(fields.size() + 2);
    object.emplace_back("type", header.type);
    object.emplace_back("handle", uint16_t{header.handle});
    for (const SmbField& field : fields) {
      object.emplace_back(field.key, field_json(field, record));
    }
    list.emplace_back(std::move(object));
  }
}
