#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What two processes send each other over a pair of connected sockets. All return false when the other side
/// is gone.

bool SendAll(int channel, const void* bytes, std::size_t size);
bool ReceiveAll(int channel, void* bytes, std::size_t size);
/// Its length, then its bytes.
bool SendText(int channel, const std::string& text);
/// Throws std::bad_alloc; the other side is this program, whose lengths are true.
bool ReceiveText(int channel, std::string* text);
