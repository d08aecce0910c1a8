#include "server.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <thread>

#include "http.h"
#include "io/module.h"
#include "io/present_error.h"

namespace {

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

std::unique_ptr<HttpListener> make_listener() {
    std::string reason;
    void* const symbol = ModuleSymbol("libzevhttp.so", kHttpListenerSymbol, &reason);
    if (symbol == nullptr) throw PresentError("the page", "cannot be served: " + reason);
    return std::unique_ptr<HttpListener>(reinterpret_cast<HttpListener* (*)()>(symbol)());
}

}  // namespace

void ServePage(ViewService& service, const ServerOptions& options,
               const std::function<void(const std::string& address)>& started) {
    const std::unique_ptr<HttpListener> listener = make_listener();
    const int port = listener->Bind(options.port);
    if (port == 0) throw PresentError("port " + std::to_string(options.port), "is not free");

    // Every thread from here on leaves these to this one.
    sigset_t ends, before;
    sigemptyset(&ends);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&ends, signal);
    pthread_sigmask(SIG_BLOCK, &ends, &before);
    service.Start(port);
    std::thread server(
        [&] { listener->Run([&](const WebRequest& request) { return service.Answer(request); }); });
    const std::string address = "http://127.0.0.1:" + std::to_string(port) + "/?token=" + service.Token();
    started(address);
    if (options.opensBrowser) open_browser(address);
    int signal = 0;
    sigwait(&ends, &signal);
    listener->Stop();
    server.join();
    service.Stop();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}
