#include "ortinv/smbios_records_json.h"

#include <cstring>
#include <string>

#include <ortinv/smbios_records.h>

namespace {

template <size_t size>
Json text(const char (&field)[size]) {
  return std::string(field, strnlen(field, size));
}

Json record_json(const SmbBiosInfoRec& record) {
  Json characteristics = Json::array();
  for (const uint8_t byte : record.characteristics) {
    characteristics.push_back(byte);
  }
  return {{"vendor", text(record.vendor)},
          {"version", text(record.version)},
          {"release_date", text(record.releaseDate)},
          {"address_segment", uint32_t{record.address}},
          {"rom_size_kib", uint16_t{record.romSize}},
          {"characteristics", characteristics},
          {"extended_characteristics",
           Json::array({record.extCharacteristics1, record.extCharacteristics2})}};
}

Json record_json(const SmbSystemInfoRec& record) {
  return {{"manufacturer", text(record.manufacturer)},
          {"product_name", text(record.productName)},
          {"version", text(record.version)},
          {"serial_number", text(record.serialNumber)},
          {"uuid", text(record.uuid)},
          {"wake_up_type", record.wakeUpType},
          {"sku", text(record.sku)},
          {"family", text(record.family)}};
}

Json record_json(const SmbSlotRec& record) {
  return {{"designation", text(record.designation)},
          {"slot_type", record.type},
          {"data_bus_width", record.busDataWidth},
          {"current_usage", record.currentUsage},
          {"slot_length", record.length},
          {"slot_id", uint16_t{record.id}},
          {"characteristics", Json::array({record.characteristics1, record.characteristics2})},
          {"segment", uint16_t{record.segmentGroupNum}},
          {"bus", record.busNum},
          {"device_function", record.devFuncNum}};
}

Json record_json(const SmbServerIdRec& record) {
  return {{"server_system_id", text(record.serverSystemIdStr)}};
}

Json record_json(const SmbEnclosureRec& record) {
  return {{"rack_name", text(record.rackName)},
          {"enclosure_name", text(record.enclosureName)},
          {"enclosure_model", text(record.enclosureModel)},
          {"enclosure_serial_number", text(record.enclosureSerialNumber)},
          {"bay_number", record.enclosureBayNumber},
          {"total_bays", record.totalEnclosureBays},
          {"used_bays", record.usedEnclosureBays}};
}

Json record_json(const SmbGbxTableRec& record) {
  Json connectors = Json::array();
  for (const GbxConnectorEntry& entry : record.GbxConnectorEntry) {
    Json ports = Json::array();
    for (const GbxPortMap& port : entry.portMap) {
      ports.push_back({{"connection", port.connection}, {"bay", port.bay}});
    }
    connectors.push_back(ports);
  }
  return {{"table_version", record.GbxTableVersion},
          {"entry_count", record.entryCount},
          {"connectors", connectors}};
}

template <typename Record>
Json list_of(const void* records, uint32_t count) {
  const auto* first = static_cast<const Record*>(records);
  Json list = Json::array();
  for (const Record* record = first; record != first + count; ++record) {
    Json object = {{"type", record->header.type}, {"handle", uint16_t{record->header.handle}}};
    object.update(record_json(*record));
    list.push_back(object);
  }
  return list;
}

}  // namespace

Json smbios_records_json(uint32_t type, const void* records, uint32_t count) {
  switch (type) {
    case 0:
      return list_of<SmbBiosInfoRec>(records, count);
    case 1:
      return list_of<SmbSystemInfoRec>(records, count);
    case 9:
      return list_of<SmbSlotRec>(records, count);
    case 195:
      return list_of<SmbServerIdRec>(records, count);
    case 204:
      return list_of<SmbEnclosureRec>(records, count);
    case 222:
      return list_of<SmbGbxTableRec>(records, count);
    default:
      return Json::array();
  }
}
