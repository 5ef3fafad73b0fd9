#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "durix/durix.h"

// The one place that reads attributes of services, programme events, feeds, recordings and timers. A read never fails
// for the caller: it gives a neutral value after one "ERR" line with the attribute's number. Any thread may read;
// texts are read one at a time in the whole process.

/// The text, UTF-8; empty when it cannot be read.
std::string getStringAttribute(const durix_esg_object* object, durix_attribute attribute);

/// The number; 0 when it cannot be read.
std::int32_t getIntAttribute(const durix_esg_object* object, durix_attribute attribute);

/// False when it cannot be read.
bool getBoolAttribute(const durix_esg_object* object, durix_attribute attribute);

/// The numbers in the middleware's order; empty when they cannot be read.
std::vector<int> getIntArrayAttribute(const durix_esg_object* object, durix_attribute attribute);
