#pragma once

#include <HOST_Export.h>

class OBJ_Msg;

/// Questions about messages.
class HOST_API KIT_OBJHelper {
public:
    /// True for what is no image: null, or a message whose Rows or Columns are absent or 0.
    static bool IsBogus(OBJ_Msg* msg);
};
