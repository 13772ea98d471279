// SPDX-License-Identifier: Apache-2.0
#include "ortinv/inventory_diff.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace {

// Not about the machine.
constexpr std::array kAboutTheDocument = {"schema",   "revision", "missing", "problems",
                                          "warnings", "changes",  "diff"};
constexpr std::array kMovesAllTheTime = {"uptime_seconds", "free_physical_mb", "free_virtual_mb"};

// What names the place of a list's element, the best one first.
constexpr std::array kPlaces = {"device_locator", "socket_designation",
                                "designation",    "reference_designation",
                                "slot",           "socket",
                                "location",       "address",
                                "selector"};
// What names an element without a place; a structure's serial number may change.
constexpr const char* kName = "serial_number";

constexpr int kDriveType = 242;

template <typename Names>
bool is_one_of(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

const Json& at(const Json& object, const char* key) {
  static const Json nothing;
  const auto found = object.is_object() ? object.find(key) : object.end();
  return !object.is_object() || found == object.end() ? nothing : *found;
}

// Nothing for null.
std::string plain_text(const Json& value) {
  if (value.is_null()) {
    return "";
  }
  return value.is_string() ? value.get<std::string>()
                           : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool is_structure(const Json& element) {
  return at(element, "handle").is_number() && at(element, "type").is_number();
}

std::string place_of(const Json& element) {
  const Json& fields = at(element, "fields");
  for (const char* key : kPlaces) {
    for (const Json* object : {&fields, &element}) {
      if (std::string place = plain_text(at(*object, key)); !place.empty()) {
        const std::string bank = plain_text(
            at(*object, std::string_view(key) == "device_locator" ? "bank_locator" : "bank"));
        if (!bank.empty()) {
          place.append(", ").append(bank);
        }
        return place;
      }
    }
  }
  return is_structure(element) ? "" : plain_text(at(element, kName));
}

// A socket or slot of memory that nothing is in.
bool is_empty_place(const Json& element) {
  for (const Json* object : {&element, &at(element, "fields")}) {
    if (at(*object, "size") == "No Module Installed" || at(*object, "status") == "Unpopulated" ||
        at(*object, "socket_status") == "Unpopulated") {
      return true;
    }
  }
  return false;
}

bool is_drive(const Json& element) {
  return at(element, "type") == kDriveType;
}

Json without_drives(const Json& structures) {
  Json others = Json::array();
  std::copy_if(structures.begin(), structures.end(), std::back_inserter(others),
               [](const Json& element) { return !is_drive(element); });
  return others;
}

// Whether any of the structures was saved with this key.
bool has_key(const Json& structures, const char* key) {
  return std::any_of(structures.begin(), structures.end(),
                     [&](const Json& element) { return element.contains(key); });
}

// Fields stand beside bytes: those of types that nobody knows.
bool have_same_detail(const Json& before, const Json& after) {
  const bool has_fields = has_key(before, "fields");
  return has_fields == has_key(after, "fields") &&
         (has_fields || has_key(before, "bytes") == has_key(after, "bytes"));
}

std::string name_of(const Json& element) {
  std::string place = place_of(element);
  if (is_structure(element)) {
    const Json& name = at(element, "name");
    const std::string type =
        name.is_string() ? plain_text(name) : "type " + plain_text(at(element, "type"));
    return type + (place.empty() ? "" : ", " + place);
  }
  const Json& name = at(element, "name");
  const Json& form = at(element, "form");
  if (form.is_string()) {
    return plain_text(name) + ", " + plain_text(form);
  }
  return place;
}

using Elements = std::map<std::string, const Json*>;

// The elements by a name that no other one has.
Elements named(const Json& list, std::vector<std::string>& order) {
  Elements elements;
  for (const Json& element : list) {
    const std::string name = name_of(element);
    std::string own = name;
    for (int number = 2; elements.contains(own) || own.empty(); ++number) {
      own = name + (name.empty() ? "#" : " #") + std::to_string(name.empty() ? number - 1 : number);
    }
    elements[own] = &element;
    if (std::find(order.begin(), order.end(), own) == order.end()) {
      order.push_back(std::move(own));
    }
  }
  return elements;
}

// Null when there is none.
const Json& element_of(const Elements& elements, const std::string& name) {
  static const Json nothing;
  const auto found = elements.find(name);
  return found == elements.end() ? nothing : *found->second;
}

// A header has the handle.
Json without_header(const Json& bytes) {
  constexpr size_t kHeaderDigits = 8;
  const std::string digits = plain_text(bytes);
  return digits.substr(std::min(kHeaderDigits, digits.size()));
}

// What of a structure is compared: its fields, which have everything that stands
// beside them; without them what there is. Handles are numbers of a table.
Json comparable(const Json& element, bool has_fields) {
  if (!is_structure(element)) {
    return element;
  }
  Json reduced = Json::object();
  for (const auto& [key, value] : element.items()) {
    const bool is_of_both = key == "length" || key == "behind_end" || key == "cut";
    if (has_fields ? key == "fields" || is_of_both
                   : key != "handle" && key != "fields" && key != "length") {
      reduced[key] = key == "bytes" ? without_header(value) : value;
    }
  }
  return reduced;
}

bool is_list_of_objects(const Json& value) {
  return value.is_array() && std::all_of(value.begin(), value.end(),
                                         [](const Json& element) { return element.is_object(); });
}

class Comparer {
 public:
  Comparer(const Json& before, const Json& after) : before_(before), after_(after) {}

  Comparison take() {
    for (const auto& [section, value] : before_.items()) {
      if (is_one_of(kAboutTheDocument, section)) {
        continue;
      }
      if (after_.contains(section)) {
        compare_sections(section, value, after_[section]);
      } else {
        remark("only the first has " + section);
      }
    }
    for (const auto& [section, value] : after_.items()) {
      if (!is_one_of(kAboutTheDocument, section) && !before_.contains(section)) {
        remark("only the second has " + section);
      }
    }
    return std::move(result_);
  }

 private:
  void remark(std::string line) { result_.remarks.push_back(std::move(line) + "; not compared"); }

  void compare_sections(const std::string& section, const Json& before, const Json& after) {
    const bool are_structures =
        section == "smbios" && is_list_of_objects(before) && is_list_of_objects(after);
    if (are_structures && !before.empty() && !after.empty() && !have_same_detail(before, after)) {
      remark("the two were saved with other details of " + section);
      return;
    }
    result_.has_compared = true;
    if (are_structures && before_.contains("drives") && after_.contains("drives")) {
      // Drives have a section of their own: one change is one line.
      compare(section, {section, "", "", without_drives(before), without_drives(after)});
    } else {
      compare(section, {section, "", "", before, after});
    }
  }

  // Whether one of them has nothing there because it could not be read.
  bool is_unread(const std::string& path, const Json& before, const Json& after) {
    const std::array<std::pair<const Json*, const Json*>, 2> sides = {
        {{&before_, &before}, {&after_, &after}}};
    for (const auto& [document, value] : sides) {
      if (value->empty() && !at(*document, "problems").empty()) {
        remark(std::string("the ") + (document == &before_ ? "first" : "second") +
               " could not read " + path);
        return true;
      }
    }
    return false;
  }

  void compare(const std::string& path, const Difference& pair) {
    if (pair.before == pair.after || is_unread(path, pair.before, pair.after)) {
      return;
    }
    if (pair.before.is_object() && pair.after.is_object()) {
      compare_objects(path, pair);
    } else if (pair.item.empty() && is_list_of_objects(pair.before) &&
               is_list_of_objects(pair.after)) {
      compare_lists(path, pair.before, pair.after);
    } else {
      result_.differences.push_back(pair);
    }
  }

  void compare_objects(const std::string& path, const Difference& pair) {
    Json keys = pair.before;
    keys.update(pair.after);
    for (const auto& [key, value] : keys.items()) {
      if (is_one_of(kMovesAllTheTime, key)) {
        continue;
      }
      const std::string field =
          pair.field.empty() || pair.field == "fields" ? key : pair.field + "." + key;
      // Lists of a section are sections of their own.
      const bool is_list = pair.item.empty() && is_list_of_objects(value);
      std::string place = path;
      place.append(".").append(key);
      compare(place, {is_list ? place : pair.section, pair.item, field,
                      at(pair.before, key.c_str()), at(pair.after, key.c_str())});
    }
  }

  void compare_lists(const std::string& path, const Json& before, const Json& after) {
    std::vector<std::string> order;
    const Elements first = named(before, order);
    const Elements second = named(after, order);
    for (const std::string& name : order) {
      const Json& old_one = element_of(first, name);
      const Json& new_one = element_of(second, name);
      const bool both_are_there = !old_one.is_null() && !new_one.is_null();
      if (both_are_there && is_empty_place(old_one) == is_empty_place(new_one)) {
        const bool have_fields = old_one.contains("fields") && new_one.contains("fields");
        compare(path, {path, name, "", comparable(old_one, have_fields),
                       comparable(new_one, have_fields)});
      } else {
        // A place that was filled or emptied is what came or went.
        const bool was_empty = both_are_there && is_empty_place(old_one);
        const bool is_empty = both_are_there && is_empty_place(new_one);
        result_.differences.push_back(
            {path, name, "", was_empty ? Json() : old_one, is_empty ? Json() : new_one});
      }
    }
  }

  const Json& before_;
  const Json& after_;
  Comparison result_;
};

}  // namespace

Comparison compare_inventories(const Json& before, const Json& after) {
  return Comparer(before, after).take();
}
