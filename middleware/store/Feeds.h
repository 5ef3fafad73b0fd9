#pragma once

#include <span>
#include <string>
#include <vector>

#include "middleware/store/Catalogue.h"

namespace durix {

/// The feeds of a service by the components of its PMT, without identifiers: guide data first, then video, audio,
/// subtitles and teletext, each in the order of the PMT.
std::vector<Feed> feedsOf(std::span<const Component> components);

/// "dvb://NETWORK.STREAM.SERVICE" in hexadecimal digits (ETSI TS 102 851, 6.3.2), with the component's tag behind where
/// it has one, else with its PID as a fragment.
std::string uriOf(const StoredService& service, const Feed& feed);

}  // namespace durix
