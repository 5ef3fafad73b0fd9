#pragma once

#include <string>
#include <vector>

#include "durix/durix.h"
#include "middleware/receivers/ReceiverPool.h"

namespace durix {

/// One record for each receiver. Its words: a mark of this middleware, the receiver's number from 1, receiver type,
/// protocol; the others are zero.
std::vector<durix_device> devicesOf(const ReceiverPool& receivers);

/// "DVB-T receiver 1"; empty when the record is not of this middleware.
std::string deviceText(const durix_device& device);

}  // namespace durix
