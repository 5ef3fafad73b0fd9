#include "BCLocation.h"

BCLocation::BCLocation() = default;

BCLocation::~BCLocation() = default;

void BCLocation::releaseScanConfiguration() {
  if (scanConfiguration == nullptr) return;
  if (scanConfiguration->frequencies != nullptr) ostiv_mem_free(scanConfiguration->frequencies);
  ostiv_mem_free(scanConfiguration);
  scanConfiguration = nullptr;
}
