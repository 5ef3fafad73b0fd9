#include "BroadcastPluginImpl.h"
#include "support/Log.h"

namespace {

const LogSource LOG{Logger::loggerFactory("BC_PLUGIN"), "plugins/dvbt/src/BroadcastPluginImpl"};

}  // namespace

/// The entry point of the library: hands the host its plugin.
extern "C" BroadcastPlugin* vm_init() {
  BC_INFO(LOG, "ENTER vm_init()");
  return BroadcastPluginImpl::getInstance();
}
