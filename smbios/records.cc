// Arrays of decoded records.
#include "ortinv/smbios_records.h"

#include <array>
#include <cstdlib>

#include "ortinv/smbios_table.h"
#include "smbios/table.h"

namespace {

// Decodes structure into record index of an array.
using Decode = void (*)(void* records, const uint8_t* structure, uint32_t index);

struct RecordKind {
  uint8_t type;
  size_t record_size;
  Decode decode;
};

template <typename Record, auto Decoder>
constexpr RecordKind kind(uint8_t type) {
  return {type, sizeof(Record), [](void* records, const uint8_t* structure, uint32_t index) {
            Decoder(static_cast<Record*>(records), structure, index);
          }};
}

constexpr std::array kKinds = {
    kind<SmbBiosInfoRec, SmbDecodeBiosInfo>(0),
    kind<SmbSystemInfoRec, SmbDecodeSystemInfo>(1),
    kind<SmbSlotRec, SmbDecodeSlot>(9),
    kind<SmbServerIdRec, SmbDecodeServerId>(195),
    kind<SmbEnclosureRec, SmbDecodeEnclosure>(204),
    kind<SmbGbxTableRec, SmbDecodeGbxTable>(222),
};

// Types that do not fit a byte find nothing.
const RecordKind* find_kind(uint32_t type) {
  for (const RecordKind& candidate : kKinds) {
    if (candidate.type == type) {
      return &candidate;
    }
  }
  return nullptr;
}

uint32_t count_of_type(uint8_t type) {
  uint32_t count = 0;
  for (auto* structure = next_of_type(type, nullptr); structure != nullptr;
       structure = next_of_type(type, structure)) {
    ++count;
  }
  return count;
}

}  // namespace

int SmBiosGetRecords(uint32_t type, void** records, uint32_t* count) {
  if (count != nullptr) {
    *count = 0;
  }
  if (records == nullptr) {
    return -1;
  }
  *records = nullptr;
  const RecordKind* kind = find_kind(type);
  if (!table_initialised() || kind == nullptr) {
    return -1;
  }
  const TableLock lock;
  const uint32_t found = count_of_type(kind->type);
  void* array = found == 0 ? nullptr : calloc(found, kind->record_size);
  if (array == nullptr) {
    return -1;
  }
  // The decoders clean texts in the table, but never a header or a zero: this
  // walk meets the structures that were counted.
  const uint8_t* structure = nullptr;
  for (uint32_t index = 0; index < found; ++index) {
    structure = next_of_type(kind->type, structure);
    kind->decode(array, structure, index);
  }
  *records = array;
  if (count != nullptr) {
    *count = found;
  }
  return 0;
}
