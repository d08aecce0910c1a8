#pragma once

namespace zev {

/// Objects that live to the end of the process and that are never freed. They stay reachable here, so that a
/// leak checker reports real leaks only. Any thread.
void KeepForever(const void* object);
bool IsKeptForever(const void* object);

}  // namespace zev
