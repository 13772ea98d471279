// SPDX-License-Identifier: Apache-2.0
#include "trap/object_id.h"

#include <algorithm>

#include "wire/little_endian.h"

namespace {

using namespace Snmp_pp;  // NOLINT(google-build-using-namespace)

constexpr std::array<unsigned long, 4> kInternet = {1, 3, 6, 1};

// Larger arcs are cut in the text, and of those that are negative there it makes
// no object identifier.
constexpr uint32_t kWholeArcMax = 999'999;

// "1.3.6.1" and 7 characters for each further arc.
static_assert(7 + 7 * (ObjectId::kArcsMax - kInternet.size()) < sizeof(OidText));

bool ends_with(unsigned long arc, unsigned long digits) {
  unsigned long power = 10;
  while (power <= digits) {
    power *= 10;
  }
  return arc % power == digits;
}

bool begins_with(unsigned long arc, unsigned long digits) {
  while (arc > digits) {
    arc /= 10;
  }
  return arc == digits;
}

// The arcs are as many as the part's.
bool matches(const unsigned long* arcs, const ArcsText& part) {
  const size_t last = part.arc_count - 1;
  return std::equal(arcs + 1, arcs + last, part.arcs.begin() + 1) &&
         ends_with(arcs[0], part.arcs[0]) && begins_with(arcs[last], part.arcs[last]);
}

}  // namespace

void read_object_id(uint8_t prefix, std::span<const uint8_t> sub_identifiers, ObjectId& id) {
  id.prefix = prefix;
  id.sub_identifiers = sub_identifiers;
  id.arc_count = 0;
  const size_t count = sub_identifiers.size() / sizeof(uint32_t);
  if (kInternet.size() + 1 + count > id.arcs.size()) {
    return;
  }
  unsigned long* arc = std::copy(kInternet.begin(), kInternet.end(), id.arcs.begin());
  *arc++ = prefix;
  for (size_t i = 0; i < count; ++i) {
    const uint32_t value = get_u32(sub_identifiers, i * sizeof(uint32_t));
    if (value > kWholeArcMax) {
      return;
    }
    *arc++ = value;
  }
  id.arc_count = static_cast<size_t>(arc - id.arcs.data());
}

OidText text_of(const ObjectId& id) {
  return render_oid(id.prefix, id.sub_identifiers);
}

Oid snmp_oid(const ObjectId& id) {
  return id.arc_count != 0 ? Oid(id.arcs.data(), static_cast<int>(id.arc_count))
                           : Oid(text_of(id).data());
}

bool text_holds(const ObjectId& id, const ArcsText& part) {
  if (id.arc_count == 0) {
    return std::string_view(text_of(id).data()).find(part.text) != std::string_view::npos;
  }
  for (size_t start = 0; start + part.arc_count <= id.arc_count; ++start) {
    if (matches(&id.arcs[start], part)) {
      return true;
    }
  }
  return false;
}
