// Runs the server in this process, without workers.
#pragma once

#include "../../hosts/qelserver/server.h"
#include "../support/log_capture.h"
#include "../support/scratch_folder.h"
#include "../support/system_fixture.h"

#include <qel/foundation/log/log_backend.h>
#include <qel/platform/local_socket.h>

#include <optional>
#include <string>

namespace qel::test {

/// A test with a server whose records are in a scratch folder, and with a peer of the server's own user.
class ServerInProcess : public SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        LogBackend::registerBackend(true);
        start();
    }
    void TearDown() override {
        m_peer.close();
        m_server.reset();
        LogBackend::unregisterBackend();
        SystemFixture::TearDown();
    }
    /// Stops the server in order if it runs, and starts it again.
    void start() {
        m_peer.close();
        m_server.reset();
        qelserver::Options options;
        options.socket = m_folder.path("socket");
        options.data = m_folder.path("records.store");
        options.worker = "/bin/false";
        options.workers = 0;
        m_server.emplace(options);
        ASSERT_TRUE(m_server->good());
        ASSERT_FALSE(platform::connectLocally(m_peer, options.socket.c_str()));
    }
    /// Sends a line to the server. @return the line that it replies.
    std::string exchange(const std::string& request) {
        size_t done = 0;
        EXPECT_FALSE(platform::sendSome(m_peer, request.data(), request.size(), done));
        EXPECT_EQ(done, request.size());
        std::string reply;
        while (!reply.ends_with('\n')) {
            m_server->poll();
            char chunk[1024];
            if (!platform::receiveSome(m_peer, chunk, sizeof chunk, done)) reply.append(chunk, done);
        }
        return reply;
    }
    /// Calls the server. @return the reply.
    std::string reply(const std::string& method, const std::string& arguments = "[]") {
        return exchange(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + arguments +
                        "}\n");
    }
    /// Calls the server. @return the result as JSON; the whole reply if it is an error.
    std::string call(const std::string& method, const std::string& arguments = "[]") {
        const std::string before = R"({"jsonrpc":"2.0","result":)";
        const std::string text = reply(method, arguments);
        if (!text.starts_with(before)) return text;
        return text.substr(before.size(), text.rfind(R"(,"id")") - before.size());
    }
    /// Stops the server. @return true if it stored everything.
    bool stop() { return m_server->stop(); }
    /// Runs passes of 10 ms each for @p ms milliseconds without a call.
    void idle(int ms) {
        for (; ms > 0; ms -= 10) {
            clock.advanceMs(10);
            m_server->poll();
        }
    }

    LogCapture log;

private:
    const ScratchFolder m_folder;
    std::optional<qelserver::Server> m_server;
    platform::FileHandle m_peer;
};

} // namespace qel::test
