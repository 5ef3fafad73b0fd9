#pragma once

#include <string>

#include "Output.h"

class Program;
class Service;

namespace tv {

/// "tv" or "radio".
std::string channelType(Service& service);

/// A channel as `channels` gives it.
Json channelJson(Service& service);

/// A channel by what tells it apart: id, number, name.
Json channelKeyJson(Service& service);

/// A programme; null for none.
Json programmeJson(Program* program);

}  // namespace tv
