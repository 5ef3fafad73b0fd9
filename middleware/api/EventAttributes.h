#pragma once

#include <string>
#include <vector>

#include "middleware/api/Attributes.h"
#include "middleware/guide/Guide.h"

namespace durix {

/// Whether a record is one of a programme, of whatever service and still there or not.
bool isEvent(const durix_esg_object& object);

/// Records of programmes; each names its service.
std::vector<durix_esg_object> recordsOf(const ServiceGuide& guide, std::uint32_t service);

/// A moment as the contract writes it, in UTC.
std::string timeText(std::int64_t moment);

/// Throws Failure UnknownObject for programmes that are gone or never were.
GuideEventPtr eventOf(Guide& guide, const Catalogue& catalogue, const durix_esg_object& object);

/// `language` as ISO 639-2 has it.
AttributeValue eventAttribute(const GuideEvent& event, const std::string& language, durix_attribute attribute);

}  // namespace durix
