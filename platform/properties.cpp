#include "platform/properties.h"

namespace quellor {

const PropertyValue* PropertyDictionary::find(std::string_view key) const {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? nullptr : &entry->second;
}

PropertyValue* PropertyDictionary::find(std::string_view key) {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? nullptr : &entry->second;
}

void PropertyDictionary::set(std::string_view key, PropertyValue value) {
  entries_.insert_or_assign(std::string(key), std::move(value));
}

bool PropertyDictionary::remove(std::string_view key) {
  const auto entry = entries_.find(key);
  if (entry == entries_.end()) return false;
  entries_.erase(entry);
  return true;
}

bool operator==(const PropertyDictionary& a, const PropertyDictionary& b) { return a.entries_ == b.entries_; }

}  // namespace quellor
