#pragma once

#include "middleware/store/Store.h"

namespace durix {

/// Which services are left out of the list of services, as the two hide properties say. Protected ones are hidden until
/// somebody says otherwise.
class ServiceFilter {
 public:
  enum class Verdict : std::uint8_t { Shown, Gone, Protected, Radio };

  explicit ServiceFilter(Store& store)
      : _hidesProtected(store.property(DURIX_PROPERTY_HIDE_PROTECTED).value_or("true") == "true"),
        _hidesRadio(store.property(DURIX_PROPERTY_HIDE_RADIO).value_or("false") == "true") {}

  Verdict judge(const StoredService& service) const {
    if (service.isHidden) return Verdict::Gone;
    if (_hidesProtected && service.isProtected) return Verdict::Protected;
    if (_hidesRadio && service.kind == ServiceKind::Radio) return Verdict::Radio;
    return Verdict::Shown;
  }

 private:
  bool _hidesProtected;
  bool _hidesRadio;
};

}  // namespace durix
