#pragma once

#include <functional>
#include <map>
#include <string>

/// What is used of a request.
struct WebRequest {
    std::string method;  ///< "GET", "POST"
    std::string path;    ///< without the query, decoded
    std::map<std::string, std::string> query;
    std::string host, origin, contentType;
    std::string body;
};

struct WebReply {
    int status = 200;
    std::string type = "application/json";
    std::string body;
};

/// Listens on 127.0.0.1. It lies in a module that is loaded for `zev view` alone: what it links takes as long
/// to load as a small image takes to draw.
class HttpListener {
public:
    using Answer = std::function<WebReply(const WebRequest&)>;

    virtual ~HttpListener() = default;
    /// Takes the port, or for 0 a free one, and returns it; 0 where it cannot be had.
    virtual int Bind(int port) = 0;
    /// Answers as long as the process lives, in several threads at once. Bodies of more than 1 MiB are
    /// refused unread.
    virtual void Run(const Answer& answer) = 0;
};

/// The one symbol of the module: `HttpListener*()`.
constexpr const char* kHttpListenerSymbol = "zev_http_listener";
