#pragma once

#include <MIR/Mir_LogFile.h>

/// Every line of the library: the arguments are prepared only if the line will be written.
#define ZEV_LOG(function, level, ...)                                                            \
    do {                                                                                         \
        if (MirGLog.StoreParams(__FILE__, function, __LINE__, level, zev::kLogModule, 1) != 0) { \
            MirGLog.Log(__VA_ARGS__);                                                            \
        }                                                                                        \
    } while (false)

namespace zev {

constexpr int kLogModule = 385;

/// The levels in use.
enum LogLevel {
    kLogAssertion = 2,  ///< a failed assertion just before the operation gives up
    kLogError = 3,      ///< a request that cannot be carried out, bad input
    kLogAbsent = 4,     ///< something absent that the code can live with
    kLogUnusual = 5,    ///< unusual data that is handled, and notable settings
    kLogValues = 6,     ///< values at points of interest
    kLogTrace = 7       ///< step by step
};

}  // namespace zev
