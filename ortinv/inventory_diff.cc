// SPDX-License-Identifier: Apache-2.0
#include "ortinv/inventory_diff.h"

#include <algorithm>
#include <array>
#include <cstdio>
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
                                "selector",       "serial_number"};

template <typename Names>
bool is_one_of(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

const Json& at(const Json& object, const char* key) {
  static const Json kNothing;
  const auto found = object.is_object() ? object.find(key) : object.end();
  return !object.is_object() || found == object.end() ? kNothing : *found;
}

std::string plain_text(const Json& value) {
  return value.is_string() ? value.get<std::string>()
                           : value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string place_of(const Json& element) {
  const Json& fields = at(element, "fields");
  for (const char* key : kPlaces) {
    for (const Json* object : {&fields, &element}) {
      if (const Json& value = at(*object, key); !value.is_null() && value != "") {
        const Json& bank =
            at(*object, std::string_view(key) == "device_locator" ? "bank_locator" : "bank");
        return plain_text(value) + (bank.is_string() && bank != "" ? ", " + plain_text(bank) : "");
      }
    }
  }
  return "";
}

bool is_structure(const Json& element) {
  return at(element, "handle").is_number() && at(element, "type").is_number();
}

std::string name_of(const Json& element) {
  const std::string place = place_of(element);
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
      reduced[key] = value;
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
        compare(section, {section, "", "", value, after_[section]});
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
      compare(path + "." + key, {is_list ? path + "." + key : pair.section, pair.item, field,
                                 at(pair.before, key.c_str()), at(pair.after, key.c_str())});
    }
  }

  void compare_lists(const std::string& path, const Json& before, const Json& after) {
    std::vector<std::string> order;
    const Elements first = named(before, order);
    const Elements second = named(after, order);
    for (const std::string& name : order) {
      const auto old_one = first.find(name);
      const auto new_one = second.find(name);
      if (old_one == first.end() || new_one == second.end()) {
        result_.differences.push_back({path, name, "",
                                       old_one == first.end() ? Json() : *old_one->second,
                                       new_one == second.end() ? Json() : *new_one->second});
        continue;
      }
      const bool have_fields =
          old_one->second->contains("fields") && new_one->second->contains("fields");
      compare(path, {path, name, "", comparable(*old_one->second, have_fields),
                     comparable(*new_one->second, have_fields)});
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
