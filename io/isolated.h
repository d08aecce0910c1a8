#pragma once

#include <functional>
#include <string>

/// How a call in a process of its own ended.
struct IsolatedResult {
    /// kKilled is known of a worker of a pool only: from outside, or because the machine is out of memory.
    enum End { kDone, kDied, kOutOfTime, kKilled };
    End end = kDied;
    /// What the work returned; only with kDone.
    std::string answer;
};

/// Runs the work in a child process and returns its result. A decoder for a dozen formats, given
/// hostile bytes, may abort on its own checks, run for ever or eat all memory: here that ends the child, and
/// the caller can say so. The child's standard output and error are discarded. memoryLimit is in bytes, the
/// time limit in seconds of CPU time. An exception that leaves the work counts as kDied. The child has but
/// this thread: a lock that another thread holds now is never given back in it.
IsolatedResult RunIsolated(const std::function<std::string()>& work, unsigned long long memoryLimit,
                           unsigned secondsLimit);

/// For the work: lets it take this many bytes from here on, beyond what it has by now.
void AllowMemory(unsigned long long bytes);

/// Whether this process is a child whose end harms nobody. RunIsolated in one runs the work right here.
bool IsIsolated();
/// Makes it one, in a child that was just forked: its standard output and error are discarded, its signals
/// are the system's own, and it may take so much memory from here on.
void BecomeIsolated(unsigned long long memoryLimit);
