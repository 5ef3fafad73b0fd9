#pragma once

#include <vector>

#include "middleware/si/Descriptors.h"
#include "middleware/si/Network.h"

namespace durix {

/// Adds what a descriptor of a NIT's transport stream says about its delivery; other descriptors are passed over.
/// Delivery descriptors come first, frequency lists and second-generation extensions add to the last one of their kind.
void readDelivery(const Descriptor& descriptor, std::vector<Delivery>& deliveries);

}  // namespace durix
