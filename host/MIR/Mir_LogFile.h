#pragma once

#include <HOST_Export.h>

#if defined(__GNUC__)
#define MIR_PRINTF_LIKE(text, first) __attribute__((format(printf, text, first)))
#else
#define MIR_PRINTF_LIKE(text, first)
#endif

/// The process's log. A line is two calls, so that the arguments of a line that nobody wants are never
/// prepared:
///
///     if (MirGLog.StoreParams("src/zev/ZEV_Masks", "ZEV_Masks::Update", __LINE__, 5, 385, 1))
///         MirGLog.Log("%d regions\n", count);
///
/// Levels: 2 failed assertion, 3 error, 4 something absent, 5 unusual data, 6 values, 7 steps.
/// Both calls may come from any thread at any time, before main and after it included; a line's origin
/// belongs to the calling thread, and a line may be logged while the arguments of another are prepared.
class HOST_API Mir_LogFile {
public:
    constexpr Mir_LogFile() = default;
    Mir_LogFile(const Mir_LogFile&) = delete;
    Mir_LogFile& operator=(const Mir_LogFile&) = delete;

    /// Non-zero if a line at this level is to be written; its origin is then kept for the thread's next Log.
    /// `file` and `function` must live until that call.
    int StoreParams(const char* file, const char* function, int line, int level, int module, int flag);

    /// Writes one line with the origin just stored; nothing without one. Conversions as in printf,
    /// independent of the locale: d i u x X o c s f F e E g G p and %%; %ls takes wide text and writes UTF-8.
    void Log(const char* format, ...) MIR_PRINTF_LIKE(2, 3);
};

extern HOST_API Mir_LogFile MirGLog;
