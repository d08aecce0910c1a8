#include <MIR/Mir_LogFile.h>
#include <refhost/Log.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <atomic>
#include <charconv>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

#include "MIR/format.h"

Mir_LogFile MirGLog;

namespace {

using refhost::LogRecord;

/// Origin of a line between its two calls.
struct Origin {
    const char* file;
    const char* function;
    int line;
    int level;
    int module;
    int flag;
};

/// The origins of the lines that a thread has begun, the latest on top: the arguments of a line are prepared
/// between its two calls, and what prepares them may log. A line whose arguments threw never comes to its
/// second call; the ring then loses the oldest. Trivially destroyed, so that a thread may log until its very
/// end.
struct OriginStack {
    static constexpr unsigned int kDepth = 8;
    Origin origins[kDepth];
    unsigned int top;
    unsigned int count;

    void Push(const Origin& origin) {
        origins[top % kDepth] = origin;
        ++top;
        if (count < kDepth) ++count;
    }
    bool Pop(Origin& origin) {
        if (count == 0) return false;
        --top;
        --count;
        origin = origins[top % kDepth];
        return true;
    }
};
thread_local OriginStack t_Origins;
thread_local bool t_InSink = false;

constexpr int kUnread = INT_MAX;
std::atomic<int> s_Level{kUnread};

/// Never destroyed: objects log while the process goes down.
struct Output {
    std::mutex mutex;
    std::shared_ptr<spdlog::logger> logger;
    std::shared_ptr<const refhost::LogSink> sink;
    std::mutex sinkMutex;
};

Output& TheOutput() {
    static Output& output = *new Output;
    return output;
}

std::shared_ptr<spdlog::logger> MakeLogger(const spdlog::sink_ptr& sink) {
    // Made here and registered nowhere: spdlog's own registry goes before the last line is written.
    auto logger = std::make_shared<spdlog::logger>("zev", sink);
    logger->set_level(spdlog::level::trace);
    logger->flush_on(spdlog::level::trace);
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e [%t] %v");
    return logger;
}

spdlog::level::level_enum Severity(int level) {
    if (level <= 2) return spdlog::level::critical;
    if (level == 3) return spdlog::level::err;
    if (level == 4) return spdlog::level::warn;
    if (level == 5) return spdlog::level::info;
    return level == 6 ? spdlog::level::debug : spdlog::level::trace;
}

/// The level that ZEV_LOG asks for; opens its file.
int ReadEnvironment() {
    const char* text = std::getenv("ZEV_LOG");
    if (text == nullptr || *text == '\0') return refhost::kLogOff;
    const char* end = text + std::strlen(text);
    int level = refhost::kLogOff;
    const std::from_chars_result number = std::from_chars(text, end, level);
    if (number.ec != std::errc() || (number.ptr != end && *number.ptr != ':')) {
        std::fprintf(stderr, "ZEV_LOG: \"%s\" is not level[:file]; nothing is logged\n", text);
        return refhost::kLogOff;
    }
    if (number.ptr != end && number.ptr + 1 != end && !refhost::SetLogFile(number.ptr + 1)) {
        std::fprintf(stderr, "ZEV_LOG: cannot write to %s; standard error is used\n", number.ptr + 1);
    }
    return level;
}

int ReadLevel() {
    int level = s_Level.load(std::memory_order_relaxed);
    if (level != kUnread) return level;
    static const int wanted = std::min(ReadEnvironment(), kUnread - 1);
    // A level that was set meanwhile stays.
    return s_Level.compare_exchange_strong(level, wanted) ? wanted : level;
}

void WriteToSink(const refhost::LogSink& sink, const LogRecord& record) {
    Output& output = TheOutput();
    const std::lock_guard<std::mutex> hold(output.sinkMutex);
    t_InSink = true;
    try {
        sink(record);
    } catch (...) {
        // Who logs does not know of sinks and must not fail for them.
    }
    t_InSink = false;
}

void Write(const LogRecord& record) {
    Output& output = TheOutput();
    std::shared_ptr<const refhost::LogSink> sink;
    std::shared_ptr<spdlog::logger> logger;
    {
        const std::lock_guard<std::mutex> hold(output.mutex);
        sink = output.sink;
        if (!sink) {
            if (!output.logger) output.logger = MakeLogger(std::make_shared<spdlog::sinks::stderr_sink_mt>());
            logger = output.logger;
        }
    }
    if (sink) {
        WriteToSink(*sink, record);
        return;
    }
    std::string text = "L" + std::to_string(record.level) + " M" + std::to_string(record.module) + " " +
                       record.file + ":" + std::to_string(record.line) + " " + record.function + ": " +
                       record.text;
    if (text.back() == '\n') text.pop_back();
    logger->log(Severity(record.level), spdlog::string_view_t(text));
}

}  // namespace

int Mir_LogFile::StoreParams(const char* file, const char* function, int line, int level, int module,
                             int flag) {
    int limit = s_Level.load(std::memory_order_relaxed);
    if (limit == kUnread) limit = ReadLevel();
    if (level > limit || level < 1 || t_InSink) return 0;
    t_Origins.Push(
        {file == nullptr ? "" : file, function == nullptr ? "" : function, line, level, module, flag});
    return 1;
}

void Mir_LogFile::Log(const char* format, ...) {
    Origin origin;
    if (t_InSink || !t_Origins.Pop(origin)) return;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        Write({origin.file, origin.function, origin.line, origin.level, origin.module, origin.flag,
               refhost::FormatText(format, arguments)});
    } catch (const std::exception&) {
        // A line that finds no memory is lost; the work that it tells of goes on.
    }
    va_end(arguments);
}

void refhost::SetLogLevel(int level) { s_Level.store(level == kUnread ? kUnread - 1 : level); }

int refhost::GetLogLevel() { return ReadLevel(); }

void refhost::SetLogSink(LogSink sink) {
    auto wanted = sink ? std::make_shared<const LogSink>(std::move(sink)) : nullptr;
    Output& output = TheOutput();
    const std::lock_guard<std::mutex> hold(output.mutex);
    output.sink.swap(wanted);
}

bool refhost::SetLogFile(const std::string& path) {
    spdlog::sink_ptr sink;
    try {
        if (path.empty()) {
            sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
        } else {
            sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
        }
    } catch (const spdlog::spdlog_ex&) {
        return false;
    }
    auto logger = MakeLogger(sink);
    Output& output = TheOutput();
    const std::lock_guard<std::mutex> hold(output.mutex);
    output.logger.swap(logger);
    return true;
}
