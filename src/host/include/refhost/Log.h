#pragma once

#include <HOST_Export.h>

#include <functional>
#include <string>

/// Where the lines of MirGLog go. Silent unless switched on, here or by the environment variable
/// ZEV_LOG=level[:file]: lines whose level is not above it are written, to standard error without a file.
/// Every function here may be called on any thread.
namespace refhost {

/// One line of the log; its pointers are valid while the sink runs.
struct LogRecord {
    const char* file;
    const char* function;
    int line;
    int level;
    int module;
    int flag;
    /// The formatted text in UTF-8, with the line end that the format gave it.
    std::string text;
};

/// Level of a silent log.
constexpr int kLogOff = 0;

/// Writes lines with a level from 1 to `level`.
HOST_API void SetLogLevel(int level);
HOST_API int GetLogLevel();

typedef std::function<void(const LogRecord&)> LogSink;

/// Sends every line to `sink` instead of the file or standard error; an empty sink goes back to them. Calls
/// of the sink never overlap. What a sink throws is dropped, and lines that it logs itself are too.
HOST_API void SetLogSink(LogSink sink);

/// Appends to a file from now on, or goes back to standard error with an empty path. False, and nothing
/// changed, when the file cannot be opened.
HOST_API bool SetLogFile(const std::string& path);

}  // namespace refhost
