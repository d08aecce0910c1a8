#include <httplib.h>

#include "web/http.h"

namespace {

/// Most of them wait for connections that say nothing.
constexpr std::size_t kThreads = 128;
constexpr std::size_t kLargestBody = 1 << 20;
/// A connection that says nothing holds a thread for so long.
constexpr time_t kPatience = 2;

/// Nothing is fetched from elsewhere, framed, sniffed or kept.
const std::pair<const char*, const char*> kHeaders[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; connect-src "
     "'self'; "
     "base-uri 'self'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Cross-Origin-Opener-Policy", "same-origin"},
    {"Cache-Control", "no-store"}};

class Listener : public HttpListener {
public:
    Listener() {
        m_Server.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
        m_Server.set_payload_max_length(kLargestBody);
        m_Server.set_read_timeout(kPatience);
        m_Server.set_keep_alive_timeout(kPatience);
        m_Server.set_keep_alive_max_count(1000);
        m_Server.set_tcp_nodelay(true);
        // The library's own choice would share the port with other programs.
        m_Server.set_socket_options([](socket_t socket) {
            const int yes = 1;
            setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
        });
    }

    int Bind(int port) override {
        if (port == 0) return std::max(0, m_Server.bind_to_any_port("127.0.0.1"));
        return m_Server.bind_to_port("127.0.0.1", port) ? port : 0;
    }

    void Run(const Answer& answer) override {
        // Routes are not used: every path has one door.
        m_Server.set_pre_routing_handler([&](const httplib::Request& request, httplib::Response& response) {
            for (const auto& [name, value] : kHeaders) response.set_header(name, value);
            // Bodies in chunks have no length that could be limited.
            const bool hasLength =
                request.has_header("Content-Length") && !request.has_header("Transfer-Encoding");
            if (request.method == "POST" && hasLength) return httplib::Server::HandlerResponse::Unhandled;
            if (request.method == "POST") {
                response.status = 411;
                return httplib::Server::HandlerResponse::Handled;
            }
            reply(answer, request, response);
            return httplib::Server::HandlerResponse::Handled;
        });
        m_Server.Post(".*", [&](const httplib::Request& request, httplib::Response& response) {
            reply(answer, request, response);
        });
        m_Server.listen_after_bind();
    }

private:
    static void reply(const Answer& answer, const httplib::Request& request, httplib::Response& response) {
        WebRequest asked{request.method,
                         request.path,
                         {},
                         request.get_header_value("Host"),
                         request.get_header_value("Origin"),
                         request.get_header_value("Content-Type"),
                         request.body};
        for (const auto& [name, value] : request.params) asked.query[name] = value;
        WebReply reply = answer(asked);
        response.status = reply.status;
        const std::size_t size = reply.body.size();
        // Handed over without a copy.
        const auto body = std::make_shared<std::string>(std::move(reply.body));
        if (size == 0) return response.set_content("", reply.type);
        response.set_content_provider(
            size, reply.type, [body](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
                return sink.write(body->data() + offset, length);
            });
    }

    httplib::Server m_Server;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) HttpListener* zev_http_listener() { return new Listener(); }
