#include "server.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <mutex>

#include "http.h"
#include "io/channel.h"
#include "io/dicom_elements.h"
#include "io/module.h"
#include "io/present_error.h"

namespace {

/// Requests that wait for one that works.
constexpr int kMostWaiting = 32;

/// The browser outlives its starter, and says what it says to nobody.
void open_browser(const std::string& address) {
    const pid_t child = fork();
    if (child > 0) waitpid(child, nullptr, 0);
    if (child != 0) return;
    setsid();
    if (fork() != 0) _exit(0);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(nowhere, stream);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execlp("xdg-open", "xdg-open", address.c_str(), static_cast<char*>(nullptr));
    _exit(1);
}

bool send_request(int channel, const WebRequest& request) {
    ByteWriter writer;
    for (const std::string* text : {&request.method, &request.path, &request.host, &request.origin,
                                    &request.contentType, &request.body})
        writer.Bytes(*text);
    writer.Number(request.query.size());
    for (const auto& [name, value] : request.query) writer.Bytes(name), writer.Bytes(value);
    return SendText(channel, writer.Take());
}

bool receive_request(int channel, WebRequest* request) {
    std::string bytes;
    if (!ReceiveText(channel, &bytes)) return false;
    ByteReader reader(bytes);
    for (std::string* text : {&request->method, &request->path, &request->host, &request->origin,
                              &request->contentType, &request->body})
        *text = reader.Bytes();
    for (std::uint64_t i = reader.Number(); i > 0; --i) {
        const std::string name = reader.Bytes();
        request->query[name] = reader.Bytes();
    }
    return true;
}

bool send_reply(int channel, const WebReply& reply) {
    return SendAll(channel, &reply.status, sizeof reply.status) && SendText(channel, reply.type) &&
           SendText(channel, reply.body);
}

bool receive_reply(int channel, WebReply* reply) {
    return ReceiveAll(channel, &reply->status, sizeof reply->status) && ReceiveText(channel, &reply->type) &&
           ReceiveText(channel, &reply->body);
}

/// The process that speaks HTTP, in many threads. What takes an image it hands to the process that made it,
/// one request after the other.
class HttpProcess {
public:
    /// Throws PresentError where the port is taken or the library cannot be loaded.
    HttpProcess(ViewService& door, int port) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            throw PresentError("the page", std::string("cannot be served: ") + std::strerror(errno));
        const pid_t parent = getpid();
        m_Process = fork();
        if (m_Process == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent) _exit(1);
            close(ends[0]);
            serve(ends[1], door, port);
        }
        close(ends[1]);
        m_Channel = ends[0];
        std::string reason = "no process can be started";
        const bool isThere = m_Process > 0 && ReceiveText(m_Channel, &reason) &&
                             ReceiveAll(m_Channel, &m_Port, sizeof m_Port) && reason.empty();
        if (isThere) return;
        end();
        throw PresentError("the page", "cannot be served: " + reason);
    }
    ~HttpProcess() { end(); }
    HttpProcess(const HttpProcess&) = delete;
    HttpProcess& operator=(const HttpProcess&) = delete;

    int Port() const { return m_Port; }
    int Channel() const { return m_Channel; }

private:
    [[noreturn]] static void serve(int channel, ViewService& door, int port) {
        // An interrupt from the terminal reaches every process of the group; the parent ends this one.
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_IGN);
        std::string reason;
        void* const symbol = ModuleSymbol("libzevhttp.so", kHttpListenerSymbol, &reason);
        std::unique_ptr<HttpListener> listener;
        if (symbol != nullptr) listener.reset(reinterpret_cast<HttpListener* (*)()>(symbol)());
        const int bound = listener ? listener->Bind(port) : 0;
        if (listener && bound == 0) reason = "port " + std::to_string(port) + " is not free";
        door.Start(bound);
        if (!SendText(channel, reason) || !SendAll(channel, &bound, sizeof bound) || bound == 0) _exit(1);

        std::mutex asking;
        std::atomic<int> waiting{0};
        listener->Run([&](const WebRequest& request) -> WebReply {
            if (std::optional<WebReply> reply = door.AnswerAtDoor(request)) return *std::move(reply);
            struct Waiting {
                std::atomic<int>& count;
                ~Waiting() { --count; }
            } counted{waiting};
            if (++waiting > kMostWaiting)
                return {503, "application/json", R"({"error": "too many requests at once"})"};
            const std::lock_guard<std::mutex> lock(asking);
            try {
                WebReply reply;
                if (send_request(channel, request) && receive_reply(channel, &reply)) return reply;
            } catch (const std::exception&) {
            }
            // What is left of this reply would be taken for the next one.
            _exit(1);
        });
        _exit(1);
    }

    void end() {
        close(m_Channel);
        if (m_Process < 0) return;
        kill(m_Process, SIGKILL);
        while (waitpid(m_Process, nullptr, 0) < 0 && errno == EINTR) continue;
    }

    pid_t m_Process = -1;
    int m_Channel = -1;
    int m_Port = 0;
};

/// The signals that end the program, as something to wait for beside the channel.
class EndSignals {
public:
    EndSignals() {
        sigemptyset(&m_Ends);
        for (const int signal : {SIGINT, SIGTERM}) sigaddset(&m_Ends, signal);
        // nohup ignores the end of the terminal.
        struct sigaction now {};
        if (sigaction(SIGHUP, nullptr, &now) == 0 && now.sa_handler != SIG_IGN) sigaddset(&m_Ends, SIGHUP);
        sigprocmask(SIG_BLOCK, &m_Ends, &m_Before);
        m_File = signalfd(-1, &m_Ends, SFD_CLOEXEC);
    }
    ~EndSignals() {
        // Taken, so that they do not end what follows.
        const timespec atOnce{};
        while (sigtimedwait(&m_Ends, nullptr, &atOnce) > 0) continue;
        close(m_File);
        sigprocmask(SIG_SETMASK, &m_Before, nullptr);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    int File() const { return m_File; }

private:
    sigset_t m_Ends, m_Before;
    int m_File = -1;
};

}  // namespace

void ServePage(ViewService& service, const ServerOptions& options,
               const std::function<void(const std::string& address)>& started) {
    const HttpProcess http(service, options.port);
    const EndSignals signals;
    service.Start(http.Port());
    const std::string address =
        "http://127.0.0.1:" + std::to_string(http.Port()) + "/?token=" + service.Token();
    started(address);
    if (options.opensBrowser) open_browser(address);

    // Files are read for the list, and thumbnails drawn, while nobody has asked for something lately.
    constexpr int kRest = 50;
    int wait = 0;
    for (bool hasWork = true;;) {
        pollfd ready[] = {{signals.File(), POLLIN, 0}, {http.Channel(), POLLIN, 0}};
        const bool isIdle = poll(ready, 2, hasWork ? wait : -1) == 0;
        wait = isIdle ? 0 : kRest;
        if (isIdle) hasWork = service.ReadNext();
        if (ready[0].revents != 0) return;
        if (ready[1].revents != 0) {
            WebRequest request;
            if (!receive_request(http.Channel(), &request) ||
                !send_reply(http.Channel(), service.Answer(request)))
                throw PresentError("the page", "is no longer served: its process has ended");
        }
    }
}
