#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "diagnostics/run/RunReport.h"

// Internal: parts that several outputs write.

namespace Tessaril::Diagnostics {

/// What is not known is null.
nlohmann::ordered_json toJson(const std::optional<PolicyAnswers>& answers);
nlohmann::ordered_json toJson(const std::optional<SnapshotFlags>& flags);
/// "onTheWay", "offTheWay", "behindEnd".
std::string placeKey(Place place);

/// The same with U+FFFD in the place of bytes that are no UTF-8: names and failures come from
/// applications, and JSON cannot be written with them otherwise.
nlohmann::ordered_json inUtf8(nlohmann::ordered_json json);

template <typename T>
nlohmann::ordered_json orNull(const std::optional<T>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

}  // namespace Tessaril::Diagnostics
