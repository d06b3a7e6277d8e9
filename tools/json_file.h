#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "tools/listener.h"

// Files of the tool's own in JSON.

namespace QXTools {

using Json = nlohmann::ordered_json;

/// The value of a field of an object. Throws std::runtime_error, which names the field, when it is
/// missing or of another type.
template <typename T>
T GetField(const Json& json, const std::string& name) {
  const auto field = json.find(name);
  if (field == json.end()) throw std::runtime_error(fmt::format("field {}: is missing", name));
  try {
    return field->get<T>();
  } catch (const Json::exception&) {
    throw std::runtime_error(fmt::format("field {}: has a value of the wrong type", name));
  }
}

/// Throws "field NAME: PROBLEM" unless the condition holds.
inline void RequireField(bool condition, const std::string& name, const std::string& problem) {
  if (!condition) throw std::runtime_error(fmt::format("field {}: {}", name, problem));
}

/// Throws unless the field "units" has all these units, and be it more.
inline void RequireUnits(const Json& json, const Json& units) {
  const Json given = GetField<Json>(json, "units");
  RequireField(given.is_object(), "units", "is no object");
  for (const auto& [quantity, unit] : units.items()) {
    const auto field = given.find(quantity);
    RequireField(field != given.end() && *field == unit, "units." + quantity,
                 fmt::format("is not {}", unit.dump()));
  }
}

/// Parses a file. Throws std::runtime_error where values are nested deeper than any of ours.
inline Json ParseJson(std::istream& in) {
  constexpr int kDeepest = 16;
  return Json::parse(in, [](int depth, Json::parse_event_t, const Json&) {
    if (depth > kDeepest) throw std::runtime_error("lists are nested too deep");
    return true;
  });
}

/// True when a file holds JSON whose field "format" begins like that. No problem is told.
inline bool IsJsonOfFormat(const std::string& path, const std::string& begin) {
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path)) return false;
  try {
    const Json json = ParseJson(in);
    return json.is_object() && GetField<std::string>(json, "format").starts_with(begin);
  } catch (const std::exception&) {
    return false;  // what is wrong is told when it is read
  }
}

/// What `convert` makes of the JSON in a file. Nothing when the file cannot be read or `convert`
/// throws std::runtime_error, which the listener is told, with what to do: `remedy`.
template <typename Convert>
auto ReadJsonFile(const std::string& path, const std::string& remedy, Listener& listener,
                  Convert convert) -> std::optional<std::invoke_result_t<Convert, Json>> {
  std::ifstream in(path, std::ios::binary);
  if (!in || !std::filesystem::is_regular_file(path)) {
    listener.Say(
        fmt::format("{}: cannot be opened as a file: check the name and the permissions", path));
    return std::nullopt;
  }
  try {
    return convert(ParseJson(in));
  } catch (const Json::exception& error) {
    listener.Say(fmt::format("{}: cannot be read ({}): {}", path, error.what(), remedy));
  } catch (const std::runtime_error& error) {
    listener.Say(fmt::format("{}: {}: {}", path, error.what(), remedy));
  }
  return std::nullopt;
}

/// False when the file cannot be written.
inline bool WriteJsonFile(const Json& json, const std::string& path) {
  std::ofstream out(path, std::ios::binary);
  // Titles may hold bytes that are not UTF-8.
  out << json.dump(1, ' ', false, Json::error_handler_t::replace) << '\n';
  out.close();
  return !out.fail();
}

}  // namespace QXTools
