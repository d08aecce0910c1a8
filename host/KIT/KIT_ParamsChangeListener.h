#pragma once

#include <HOST_Export.h>

class KIT_BaseParams;

/// Is told of every change of the parameter objects it is registered with.
class HOST_API KIT_ParamsChangeListener {
public:
    virtual ~KIT_ParamsChangeListener();
    /// Called on the thread that made the change, after the count moved. One operation may mark several
    /// changes, so a listener can see the state between its steps.
    virtual void ParamsChanged(KIT_BaseParams* params) = 0;
};
