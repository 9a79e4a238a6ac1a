#pragma once

#include <functional>

class ImplVelAgent;

// Watches the service's bus name for one proxy and tells it, through its
// callback, when the name appears (true) or vanishes (false). All agents of a
// process share one bus-name watch and one recovery timer.
class VelAgent {
public:
    explicit VelAgent(std::function<void(bool)> callback);
    virtual ~VelAgent();

    // Handler of the recovery timer's signal. Runs in signal context, so it only
    // hands the expiry over to the main-loop thread.
    static void timeOutCallback(int signum);

    VelAgent(const VelAgent&) = delete;
    VelAgent& operator=(const VelAgent&) = delete;

private:
    ImplVelAgent* mImpl;
};
