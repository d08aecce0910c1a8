#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "../cli/app_test_support.h"
#include "cli/samples.h"

namespace {

/// The program with `view`, and connections to it.
class Server : public testing::Test {
protected:
    void SetUp() override {
        WriteSamples(m_Directory.Path());
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        m_Process = fork();
        if (m_Process == 0) {
            // Not longer than the test, whatever becomes of it.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            dup2(ends[1], STDOUT_FILENO);
            execl(ZEV_PROGRAM, "zev", "view", m_Directory.Path().c_str(), "--no-browser",
                  static_cast<char*>(nullptr));
            _exit(127);
        }
        close(ends[1]);
        m_Output = fdopen(ends[0], "r");
        char line[200] = "";
        ASSERT_NE(fgets(line, sizeof line, m_Output), nullptr);
        char token[64] = "";
        ASSERT_EQ(std::sscanf(line, "http://127.0.0.1:%d/?token=%63s", &m_Port, token), 2) << line;
        m_Host = "Host: 127.0.0.1:" + std::to_string(m_Port) + "\r\n";
        m_Home = "/" + std::string(token) + "/api/";
    }
    void TearDown() override {
        kill(m_Process, SIGINT);
        std::string rest;
        for (int sign = 0; (sign = fgetc(m_Output)) != EOF;) rest += static_cast<char>(sign);
        int status = -1;
        waitpid(m_Process, &status, 0);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(rest, "\nended\n");
        fclose(m_Output);
    }

    int Connect() const {
        const int connection = socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(m_Port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const timeval patience{20, 0};
        setsockopt(connection, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        EXPECT_EQ(connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        return connection;
    }
    static bool Send(int connection, const std::string& bytes) {
        return send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(bytes.size());
    }
    /// The status of the answer; 0 where the connection was closed without one.
    int Ask(const std::string& request) const {
        const int connection = Connect();
        Send(connection, request);
        char answer[16] = "";
        const ssize_t size = recv(connection, answer, sizeof answer - 1, MSG_WAITALL);
        close(connection);
        return size < 12 ? 0 : std::atoi(answer + 9);
    }
    std::string Get(const std::string& name) const {
        return "GET " + m_Home + name + " HTTP/1.1\r\n" + m_Host + "\r\n";
    }
    std::string Post(const std::string& headers, const std::string& body) const {
        return "POST " + m_Home + "open HTTP/1.1\r\n" + m_Host + "Content-Type: application/json\r\n" +
               headers + "\r\n" + body;
    }
    /// In MiB.
    long Memory() const {
        std::ifstream stream("/proc/" + std::to_string(m_Process) + "/statm");
        long size = 0, resident = 0;
        stream >> size >> resident;
        return resident * sysconf(_SC_PAGESIZE) >> 20;
    }

    support::TemporaryDirectory m_Directory;
    pid_t m_Process = 0;
    std::FILE* m_Output = nullptr;
    int m_Port = 0;
    std::string m_Host, m_Home;
};

TEST_F(Server, HoldsAgainstAbuse) {
    EXPECT_EQ(Ask(Get("list")), 200);
    EXPECT_EQ(Ask("GET / HTTP/1.1\r\n" + m_Host + "\r\n"), 403);
    EXPECT_EQ(Ask("GET " + m_Home + "list HTTP/1.1\r\nHost: evil.example\r\n\r\n"), 403);
    EXPECT_EQ(Ask(Post("Content-Length: 9\r\n", R"({"id": 0})")), 200);
    EXPECT_EQ(Ask(Post("Content-Length: 99999999999\r\n", "{")), 413);
    EXPECT_EQ(Ask(Post("Content-Length: 2000000\r\n", std::string(2000000, '['))), 413);
    EXPECT_EQ(Ask(Post("Transfer-Encoding: chunked\r\n", "9\r\n{\"id\": 0}\r\n0\r\n\r\n")), 411);
    Ask(std::string(100000, '\0'));
    EXPECT_EQ(Ask("GET /" + std::string(100000, 'a') + " HTTP/1.1\r\n\r\n"), 414);

    const std::string second = std::string("timeout 20 " ZEV_PROGRAM " view --no-browser --port ") +
                               std::to_string(m_Port) + " " + m_Directory / "ct.dcm" + " 2>&1";
    EXPECT_EQ(std::system(second.c_str()), 1 << 8);

    // Connections that say nothing hold nobody up.
    std::vector<int> silent;
    for (int i = 0; i < 100; ++i) {
        silent.push_back(Connect());
        Send(silent.back(), "GET /");
    }
    EXPECT_EQ(Ask(Get("list")), 200);
    for (const int connection : silent) close(connection);

    Ask(Get("pixels?id=1"));
    const long before = Memory();
    for (int i = 0; i < 300; ++i) ASSERT_EQ(Ask(Get("list")), 200) << i;
    EXPECT_LT(Memory(), before + 100);
}

}  // namespace
