#include "ReceiverRequests.h"

#include "Failure.h"
#include "PluginLibrary.h"

namespace tv {
namespace {

// ReceiverControl's operations by their exported names.
constexpr const char* MAKE = "_ZN15ReceiverControlC1EPv";
constexpr const char* SELECT =
    "_ZN15ReceiverControl14selectReceiverE12ReceiverTypeNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_";
constexpr const char* SET_ADDRESS =
    "_ZN15ReceiverControl10setAddressENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEi";
constexpr const char* RESET = "_ZN15ReceiverControl24resetReceiversToDefaultsEv";
constexpr const char* TUNER_TYPE = "_ZN19BroadcastPluginImpl12getTunerTypeB5cxx11Ev";

template <typename Function>
Function* require(const PluginLibrary& library, const char* name) {
  auto* function = library.find<Function>(name);
  if (function == nullptr) throw Failure("this plugin has no receiver control");
  return function;
}

}  // namespace

ReceiverRequests::ReceiverRequests(const PluginLibrary& library, void* device) : _library(library), _control{} {
  require<void(Control*, void*)>(library, MAKE)(&_control, device);
}

bool ReceiverRequests::select(ReceiverType type, const std::string& first, const std::string& second) {
  return require<bool(Control*, ReceiverType, std::string, std::string)>(_library, SELECT)(&_control, type, first,
                                                                                           second);
}

bool ReceiverRequests::setAddress(const std::string& address, int port) {
  return require<bool(Control*, std::string, int)>(_library, SET_ADDRESS)(&_control, address, port);
}

bool ReceiverRequests::reset() {
  return require<bool(Control*)>(_library, RESET)(&_control);
}

std::string tunerType(const PluginLibrary& library, void* plugin) {
  auto* function = library.find<std::string(void*)>(TUNER_TYPE);
  return function == nullptr ? "" : function(plugin);
}

}  // namespace tv
