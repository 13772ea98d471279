// SPDX-License-Identifier: Apache-2.0
// Writes the schema of ortinv's JSON document: the hand-written one, and in it a
// definition for each structure type that the library has a row for. Runs when
// the tool is built.
//
//   make_schema ortinv.schema.json.in ortinv.schema.json
#include <ortinv/smbios_records.h>
#include <ortinv/smbios_types.h>

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

Json list_schema(const Json& item, unsigned count) {
  return {{"type", "array"}, {"items", item}, {"minItems", count}, {"maxItems", count}};
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
      return list_schema(number_schema(8), field.size_or_count);
    case kSmbFieldPortMaps:
      break;
  }
  const Json port = object_schema({{"connection", number_schema(8)}, {"bay", number_schema(8)}});
  return list_schema(list_schema(port, kGbxPortMaps), field.size_or_count);
}

Json record_schema(const SmbType& type) {
  Json properties = {{"type", {{"const", type.type}}}, {"handle", number_schema(16)}};
  for (const SmbField& field : std::span(type.fields, type.field_count)) {
    properties[field.key] = field_schema(field);
  }
  Json schema = {{"description", type.name}};
  schema.update(object_schema(properties));
  return schema;
}

// Exceptions are the JSON library's: the frame lacks what is to be filled in.
int make_schema(const char* frame, const char* target) {
  std::ifstream file(frame);
  Json schema = Json::parse(file);
  Json& choices = schema.at("properties").at("smbios").at("items").at("oneOf");
  for (uint32_t i = 0; i < SmbTypeCount(); ++i) {
    const SmbType& type = *SmbTypeAt(i);
    const std::string name = "smbios_" + std::to_string(type.type);
    choices.push_back({{"$ref", "#/definitions/" + name}});
    schema["definitions"][name] = record_schema(type);
  }
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
