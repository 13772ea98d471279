// SPDX-License-Identifier: Apache-2.0
// The library called from C.
#include "tests/unit/smbios/c_interface.h"

#include "ortinv/smbios_types.h"
#include "tests/support/smbios/sample_host.h"
#include "tests/unit/smbios/loaded_table.h"

namespace {

class CInterface : public LoadedTable {};

TEST_F(CInterface, WalksDecodesAndAnswers) {
  load(sample_host_table());
  EXPECT_EQ(count_slots_from_c(), 8U);
  EXPECT_EQ(count_structures_from_c(), 35U);
  uint32_t fields = 0;
  for (uint32_t index = 0; index < SmbTypeCount(); ++index) {
    fields += SmbTypeAt(index)->field_count;
  }
  EXPECT_EQ(count_fields_from_c(), fields);
  EXPECT_STREQ(pci_name_from_c(0, 0x14), "Eight-Port SAS Adapter");
}

}  // namespace
