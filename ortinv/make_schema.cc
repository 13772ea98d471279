// SPDX-License-Identifier: Apache-2.0
// Writes the schema of ortinv's JSON document: the hand-written one, and in it a
// definition for each structure type that the library has a row for. Runs when
// the tool is built.
//
//   make_schema ortinv.schema.json.in ortinv.schema.json
#include <ortinv/smbios_records.h>
#include <ortinv/smbios_standard.h>
#include <ortinv/smbios_types.h>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

namespace {

using Json = nlohmann::ordered_json;

Json number_schema(unsigned bits) {
  return {{"type", "integer"}, {"minimum", 0}, {"maximum", (uint64_t{1} << bits) - 1}};
}

Json list_schema(const Json& item, unsigned least, unsigned most) {
  return {{"type", "array"}, {"items", item}, {"minItems", least}, {"maxItems", most}};
}

Json object_schema(const Json& properties) {
  Json required = Json::array();
  for (const auto& [key, schema] : properties.items()) {
    required.push_back(key);
  }
  return {{"type", "object"},
          {"required", required},
          {"additionalProperties", false},
          {"properties", properties}};
}

Json field_schema(const SmbField& field) {
  switch (field.kind) {
    case kSmbFieldText:
      return {{"type", "string"}};
    case kSmbFieldU8:
      return number_schema(8);
    case kSmbFieldU16:
      return number_schema(16);
    case kSmbFieldU32:
      return number_schema(32);
    case kSmbFieldBytes:
      return list_schema(number_schema(8), field.size_or_count, field.size_or_count);
    case kSmbFieldPortMaps:
      break;
  }
  const Json port = object_schema({{"connection", number_schema(8)}, {"bay", number_schema(8)}});
  return list_schema(list_schema(port, kGbxPortMaps, kGbxPortMaps), 0, field.size_or_count);
}

// Of a field of the standard's rows.
Json value_schema(const SmbStandardField& field) {
  Json schema = {{"description", field.unit == nullptr
                                     ? std::string(field.name)
                                     : std::string(field.name) + ", in " + field.unit}};
  const bool is_word = field.kind == kSmbKindEnumeration || field.kind == kSmbKindYesNo;
  switch (SmbKindShape(field.kind)) {
    case kSmbShapeText:
      schema["type"] = "string";
      break;
    case kSmbShapeNumber:
      schema["type"] = is_word ? Json("string") : Json({"integer", "string"});
      break;
    case kSmbShapeList:
      schema["type"] = "array";
      schema["items"] = {{"type", "string"}};
      break;
  }
  return schema;
}

Json fields_schema(const SmbStandardType& type) {
  Json properties = Json::object();
  for (const SmbStandardField& field : std::span(type.fields, type.field_count)) {
    properties[field.key] = value_schema(field);
  }
  return {{"type", "object"},
          {"description", "Without those that the structure is too short for"},
          {"additionalProperties", false},
          {"properties", properties}};
}

// What every structure has or may have.
Json structure_schema(const Json& type, const Json& name) {
  const Json only_true = {{"const", true}};
  return {{"type", "object"},
          {"required", {"type", "name", "handle", "length"}},
          {"additionalProperties", false},
          {"properties",
           {{"type", type},
            {"name", name},
            {"handle", number_schema(16)},
            {"length", number_schema(8)},
            {"behind_end", only_true},
            {"cut", only_true},
            {"strings", {{"type", "array"}, {"items", {{"type", "string"}}}}},
            {"bytes", {{"type", "string"}, {"pattern", "^([0-9A-F]{2})*$"}}}}}};
}

Json type_schema(uint32_t number) {
  const SmbStandardType* standard = SmbFindStandardType(number);
  const SmbType* record = SmbFindType(number);
  const char* name = standard != nullptr ? standard->name : record->name;
  Json schema = structure_schema({{"const", number}}, {{"const", name}});
  Json& properties = schema["properties"];
  if (standard != nullptr) {
    properties["fields"] = fields_schema(*standard);
  }
  for (const SmbField& field : record == nullptr ? std::span<const SmbField>()
                                                 : std::span(record->fields, record->field_count)) {
    properties[field.key] = field_schema(field);
  }
  return schema;
}

void add_structures(Json& schema) {
  Json& choices = schema.at("properties").at("smbios").at("items").at("oneOf");
  Json known = Json::array();
  for (uint32_t number = 0; number <= UINT8_MAX; ++number) {
    if (SmbFindStandardType(number) == nullptr && SmbFindType(number) == nullptr) {
      continue;
    }
    const std::string name = "smbios_" + std::to_string(number);
    choices.push_back({{"$ref", "#/definitions/" + name}});
    schema["definitions"][name] = type_schema(number);
    known.push_back(number);
  }
  Json other = number_schema(8);
  other["not"] = {{"enum", known}};
  choices.push_back({{"$ref", "#/definitions/smbios_other"}});
  schema["definitions"]["smbios_other"] = structure_schema(other, {{"type", "string"}});
}

// Exceptions are the JSON library's: the frame lacks what is to be filled in.
int make_schema(const char* frame, const char* target) {
  std::ifstream file(frame);
  Json schema = Json::parse(file);
  add_structures(schema);
  std::ofstream written(target);
  written << schema.dump(2) << '\n';
  written.close();
  return written ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    fputs("usage: make_schema FROM TO\n", stderr);
    return 2;
  }
  try {
    return make_schema(argv[1], argv[2]);
  } catch (const std::exception& error) {
    fprintf(stderr, "make_schema: %s: %s\n", argv[1], error.what());
    return 1;
  }
}
