#pragma once

#include "durix/durix.h"
#include "velmora/Clip.h"

/// Reads the fields that recordings and timers share from the attributes of their record: name, description, times,
/// duration, and the target service's name and network.
void fillTimedClip(TimedClip& clip, const durix_esg_object& object);

/// Sets the property "uri:friendly": prefix, name, start and end.
void fillFriendlyUri(TimedClip& clip, const char* prefix);
