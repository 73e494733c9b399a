#pragma once
#include <filesystem>
#include <string>

#include <nlohmann/json.hpp>

namespace quellor::test_support {

/// A request with the three required keys; more are added like to any JSON object. dump() gives the text to send.
inline nlohmann::json request(const std::string& operation, const std::filesystem::path& inputPath) {
  return {{"protocolVersion", 1}, {"operation", operation}, {"inputPath", inputPath.string()}};
}

inline nlohmann::json inspectRequest(const std::filesystem::path& inputPath) { return request("inspect", inputPath); }

/// `base` with one key set to `value`.
inline nlohmann::json with(nlohmann::json base, const std::string& key, nlohmann::json value) {
  base[key] = std::move(value);
  return base;
}

inline nlohmann::json without(nlohmann::json base, const std::string& key) {
  base.erase(key);
  return base;
}

}  // namespace quellor::test_support
