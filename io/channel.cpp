#include "channel.h"

#include <sys/socket.h>

#include <cerrno>

bool SendAll(int channel, const void* bytes, std::size_t size) {
    const auto* next = static_cast<const char*>(bytes);
    while (size > 0) {
        // A peer that is gone is an error, not a signal.
        const ssize_t sent = send(channel, next, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        next += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool ReceiveAll(int channel, void* bytes, std::size_t size) {
    auto* next = static_cast<char*>(bytes);
    while (size > 0) {
        const ssize_t got = recv(channel, next, size, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        next += got;
        size -= static_cast<std::size_t>(got);
    }
    return true;
}

bool SendText(int channel, const std::string& text) {
    const std::uint64_t size = text.size();
    return SendAll(channel, &size, sizeof size) && SendAll(channel, text.data(), text.size());
}

bool ReceiveText(int channel, std::string* text) {
    std::uint64_t size = 0;
    if (!ReceiveAll(channel, &size, sizeof size)) return false;
    text->resize(size);
    return ReceiveAll(channel, text->data(), text->size());
}
