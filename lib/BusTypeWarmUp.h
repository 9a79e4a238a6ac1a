#pragma once

namespace vel_link {

// Initialises the GObject classes behind a bus connection and the service's
// proxy, once per process. Run on the main-loop thread as it starts, this
// work is done before doInitialize() needs it, instead of inside the
// connection and proxy set-up where start-up waits for it.
void warmUpBusTypes();

} // namespace vel_link
