#include "ScriptedPlatform.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "velmora/Velmora.h"

ScriptedPlatform::ScriptedPlatform() {
  Velmora::getInstance()->setProperty("system.library_directory", "/library");
  drop();
}

ScriptedPlatform::~ScriptedPlatform() {
  EXPECT_EQ(liveAllocations(), 0) << "middleware memory was not released";
  for (const std::string& path : paths) std::remove(path.c_str());
}

void ScriptedPlatform::setMatching(const std::set<std::uint32_t>& identities) {
  for (const durix_provider& provider : providers) {
    const bool isMatching = identities.contains(provider.identity);
    failing["durix_provider_match(provider " + std::to_string(provider.identity) + ",1,1)"] = isMatching ? 0 : 3;
  }
}

void ScriptedPlugin::setState(PluginState newState) {
  state = newState;
  note("state " + std::to_string(newState));
}

bool ScriptedPlugin::discover(const durix_scan_configuration* configuration, BroadcastProtocolType scanProtocol,
                              ReceiverType scanReceiver, bool flag) {
  note("discover " + std::to_string(configuration->count) + " frequencies, protocol " + std::to_string(scanProtocol) +
       ", receiver " + std::to_string(scanReceiver) + (flag ? ", flag" : ""));
  return true;
}

void ScriptedPlugin::deleteAll() {
  note("deleteAll");
  if (onDeleteAll) onDeleteAll();
}

std::string writeFile(const std::string& name, const std::string& text) {
  std::string path = testing::TempDir() + "plugin_tuning_" + std::to_string(getpid()) + "_" + name;
  std::ofstream(path, std::ios::binary) << text;
  static_cast<ScriptedPlatform*>(ScriptedMiddleware::current())->paths.insert(path);
  return path;
}
