#pragma once

#include "Interrupt.h"
#include "Output.h"
#include "velmora/BroadcastPlugin.h"

namespace tv {

/// Starts collecting the guide and waits until it is in: until no more programmes have come for a while, or a bounded
/// time. Throws Interrupted.
void waitForGuide(BroadcastPlugin& plugin, Output& output, const Interrupt& interrupt);

}  // namespace tv
