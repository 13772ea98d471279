// SPDX-License-Identifier: Apache-2.0
// Object identifiers of a notification. What counts is their text, whose pieces
// and length are cut (render_oid): receivers know the names so. Making a text of
// each and parsing it again was most of what a notification cost, so whatever
// gives the same result on the numbers is done on the numbers.
#ifndef TVUREV_TRAP_OBJECT_ID_H_
#define TVUREV_TRAP_OBJECT_ID_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "trap/agentx_text.h"
#include "trap/snmp_classes.h"

// An object identifier as it stands in a notification, which must outlive it.
// Without sub-identifiers until read_object_id() fills it.
struct ObjectId {
  // So many arcs give a text that is not cut, whatever they are.
  static constexpr size_t kArcsMax = 36;

  uint8_t prefix = 0;
  std::span<const uint8_t> sub_identifiers = {};  // 32 bits each, little-endian
  // The arcs of its text; none where that is cut or no object identifier.
  size_t arc_count = 0;
  std::array<unsigned long, kArcsMax> arcs;  // beyond arc_count as it happens to be

  ObjectId() {}  // NOLINT(modernize-use-equals-default,*-member-init): see arcs
};

// Fills the object identifier in, where it lies.
void read_object_id(uint8_t prefix, std::span<const uint8_t> sub_identifiers, ObjectId& id);

OidText text_of(const ObjectId& id);

// What Oid(text_of(id)) gives: invalid where the text has a negative arc.
Snmp_pp::Oid snmp_oid(const ObjectId& id);

// At least two arcs joined by dots, to be found in the text of an object
// identifier.
struct ArcsText {
  static constexpr size_t kArcsMax = 12;

  std::string_view text;
  std::array<unsigned long, kArcsMax> arcs = {};
  size_t arc_count = 1;

  // The text is a literal: digits and single dots.
  consteval explicit ArcsText(const char* literal) : text(literal) {
    for (const char c : text) {
      if (c == '.') {
        ++arc_count;
      } else {
        unsigned long& arc = arcs[arc_count - 1];
        arc = arc * 10 + static_cast<unsigned long>(c - '0');
      }
    }
  }
};

// True when the text of the object identifier holds this text anywhere, also
// amid numbers: 11.3 holds 1.3, and 1.35 too.
bool text_holds(const ObjectId& id, const ArcsText& part);

#endif  // TVUREV_TRAP_OBJECT_ID_H_
