#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "middleware/store/Catalogue.h"

namespace durix {

/// Of one of the types that the contract reads; nothing when the object has no such attribute.
using AttributeValue = std::variant<std::monostate, std::string, std::int32_t, bool, std::vector<std::int32_t>>;

struct FoundFeed {
  const StoredService* service;
  const Feed* feed;
};

/// What a record of the contract stands for; null or nothing when it is of another kind, unknown, or changed by its
/// holder. The results live as long as the catalogue.
const StoredService* findService(const Catalogue& catalogue, const durix_esg_object& object);
std::optional<FoundFeed> findFeed(const Catalogue& catalogue, const durix_esg_object& object);

/// What a feed says by itself, be it of a service or of a recording.
AttributeValue componentAttribute(const Feed& feed, durix_attribute attribute);

/// Throws Failure UnknownObject for records that stand for nothing.
AttributeValue attributeOf(const Catalogue& catalogue, const durix_esg_object& object, durix_attribute attribute);

}  // namespace durix
