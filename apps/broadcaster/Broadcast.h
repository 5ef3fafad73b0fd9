#pragma once

#include <chrono>
#include <functional>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/ts/Multiplexer.h"

namespace broadcaster {

/// Makes the transport stream of one multiplex: tables, pictures and sound of `length` from the moment `start` on, and
/// gives it to `sink` packet by packet. The same arguments give the same stream. Throws std::runtime_error when an
/// encoder fails or the multiplex is too small for its services.
void makeMultiplex(const Network& network, const Multiplex& multiplex, Moment start, std::chrono::seconds length,
                   const Multiplexer::Sink& sink);

}  // namespace broadcaster
