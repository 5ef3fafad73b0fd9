#pragma once

#include "BroadcastProvider.h"
#include "guide/ServiceList.h"
#include "tests/support/IdlePlugin.h"

/// A plugin that has a service list and nothing else.
class TestPlugin final : public IdlePlugin, public ServiceListHost {
 public:
  BroadcastProvider provider{durix_provider{1, 1, 1, "Network", {}}};
  int receivers = 1;
  ServiceList list{*this, _channelList, *this};

  std::string getDurixProperty(durix_property /*number*/) override { return {}; }
  BroadcastProvider* activeInProviders() override { return &provider; }
  bool hasProviders() override { return true; }
  int receiverCount() override { return receivers; }
};
