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
  if (const auto mark = removed_.find(key); mark != removed_.end()) removed_.erase(mark);
}

bool PropertyDictionary::remove(std::string_view key) {
  removed_.emplace(key);
  const auto entry = entries_.find(key);
  if (entry == entries_.end()) return false;
  entries_.erase(entry);
  return true;
}

bool PropertyDictionary::removeNested(std::string_view group, std::string_view key) {
  removedNested_.emplace(group, key);
  PropertyValue* const value = find(group);
  auto* const nested = value == nullptr ? nullptr : value->as<PropertyDictionary>();
  return nested != nullptr && nested->remove(key);
}

bool PropertyDictionary::wasRemoved(std::string_view key) const { return removed_.contains(key); }

bool PropertyDictionary::wasRemoved(std::string_view group, std::string_view key) const {
  return wasRemoved(group) || removedNested_.contains({std::string(group), std::string(key)});
}

bool PropertyDictionary::wasAnyRemoved(std::string_view prefix) const {
  const auto mark = removed_.lower_bound(prefix);
  return mark != removed_.end() && mark->starts_with(prefix);
}

bool operator==(const PropertyDictionary& a, const PropertyDictionary& b) { return a.entries_ == b.entries_; }

}  // namespace quellor
