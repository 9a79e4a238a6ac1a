#pragma once

// Tells a client process that its link to the MVEL service went down (false)
// or has been set up again (true). Base of the application and core-engine
// callback interfaces.
class VelCallBackAgent {
public:
    VelCallBackAgent();
    virtual ~VelCallBackAgent();

    virtual void onRcvMVELReady(bool ready);
};
