#pragma once

#include "middleware/api/Attributes.h"
#include "middleware/recordings/Recordings.h"

namespace durix {

/// Of a timer, a recording, or a feed of one; nothing for what `recordingOf` does not know. Throws Failure
/// UnknownObject for what has gone.
AttributeValue recordedAttribute(Recordings& recordings, const durix_esg_object& object, durix_attribute attribute);

}  // namespace durix
