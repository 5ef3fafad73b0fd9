#pragma once

#include "Interrupt.h"
#include "Output.h"
#include "Session.h"

namespace tv {

/// Starts collecting the guide and waits until it is in: until all that is broadcast has gone round once and the plugin
/// has taken it, or a bounded time. With a middleware that does not tell how far it is: until no more programmes have
/// come for a while. Throws Interrupted.
void waitForGuide(Session& session, Output& output, const Interrupt& interrupt);

}  // namespace tv
