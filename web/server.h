#pragma once

#include <functional>
#include <string>

#include "view_service.h"

/// How the page is served.
struct ServerOptions {
    int port = 0;  ///< 0 for any that is free
    bool opensBrowser = true;
};

/// Serves the page on 127.0.0.1 until the process gets SIGINT or SIGTERM. `started` is called with the
/// address once it answers. Throws PresentError where the port is taken or the server cannot be loaded.
void ServePage(ViewService& service, const ServerOptions& options,
               const std::function<void(const std::string& address)>& started);
