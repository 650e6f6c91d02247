#include "FakeProvider.h"

#include <arpa/inet.h>
#include <httplib.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

namespace lumenary::testing {

namespace {

std::string lowercase(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return out;
}

int portOf(const sockaddr_storage& address) {
    if (address.ss_family != AF_INET)
        return -1;
    sockaddr_in inet{};
    std::memcpy(&inet, &address, sizeof inet);
    return ntohs(inet.sin_port);
}

// httplib never hands a handler its socket, so the connection is found among the process's
// descriptors by its two ports and shut down; the reply httplib then writes goes nowhere and the
// client sees the connection end before any status line.
void dropConnection(const httplib::Request& request) {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
        const int fd = std::atoi(entry.path().filename().c_str());
        sockaddr_storage local{};
        sockaddr_storage peer{};
        socklen_t localSize = sizeof local;
        socklen_t peerSize = sizeof peer;
        if (getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localSize) != 0 ||
            getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerSize) != 0)
            continue;
        if (portOf(local) == request.local_port && portOf(peer) == request.remote_port) {
            shutdown(fd, SHUT_RDWR);
            return;
        }
    }
}

}  // namespace

struct FakeProvider::State {
    httplib::Server server;
    std::thread thread;
    int port = -1;

    mutable std::mutex mutex;
    std::condition_variable stopping;
    bool stopped = false;
    std::deque<Reply> script;
    Reply fallback;
    std::vector<Request> received;

    void answer(const httplib::Request& in, httplib::Response& out) {
        Request request{in.method, in.path, {}, in.body};
        for (const auto& [name, value] : in.headers)
            request.headers.emplace(lowercase(name), value);

        std::unique_lock lock(mutex);
        received.push_back(std::move(request));
        Reply reply = fallback;
        if (!script.empty()) {
            reply = std::move(script.front());
            script.pop_front();
        }
        if (reply.delaySeconds > 0)
            stopping.wait_for(lock, std::chrono::duration<double>(reply.delaySeconds),
                              [&] { return stopped; });
        lock.unlock();

        if (reply.closeWithoutAnswer)
            dropConnection(in);
        out.status = reply.status;
        out.set_content(reply.body, reply.contentType.c_str());
    }
};

std::string FakeProvider::Request::header(std::string_view name) const {
    const auto found = headers.find(lowercase(name));
    return found == headers.end() ? std::string() : found->second;
}

bool FakeProvider::Request::hasHeader(std::string_view name) const {
    return headers.count(lowercase(name)) > 0;
}

FakeProvider::FakeProvider() : state_(std::make_unique<State>()) {
    // A client that gives up (a time-out test) leaves the server writing to a closed socket;
    // by default that signal would end the whole test program.
    std::signal(SIGPIPE, SIG_IGN);

    State& state = *state_;
    auto handler = [&state](const httplib::Request& in, httplib::Response& out) {
        state.answer(in, out);
    };
    state.server.Post(".*", handler);
    state.server.Get(".*", handler);
    state.port = state.server.bind_to_any_port("127.0.0.1");
    if (state.port < 0) {
        std::fputs("FakeProvider: no port on 127.0.0.1\n", stderr);
        std::abort();
    }
    // The socket already listens, so early connections wait in its backlog; but stop() only
    // takes effect once the loop runs, so the constructor returns only after it does.
    state.thread = std::thread([&state] { state.server.listen_after_bind(); });
    while (!state.server.is_running())
        std::this_thread::yield();
}

FakeProvider::~FakeProvider() {
    {
        std::lock_guard lock(state_->mutex);
        state_->stopped = true;
    }
    state_->stopping.notify_all();
    state_->server.stop();
    state_->thread.join();
}

std::string FakeProvider::baseUrl() const {
    return "http://127.0.0.1:" + std::to_string(state_->port);
}

int FakeProvider::port() const {
    return state_->port;
}

void FakeProvider::enqueue(Reply reply) {
    std::lock_guard lock(state_->mutex);
    state_->script.push_back(std::move(reply));
}

void FakeProvider::enqueue(int status, std::string body) {
    Reply reply;
    reply.status = status;
    reply.body = std::move(body);
    enqueue(std::move(reply));
}

void FakeProvider::setDefault(Reply reply) {
    std::lock_guard lock(state_->mutex);
    state_->fallback = std::move(reply);
}

std::vector<FakeProvider::Request> FakeProvider::requests() const {
    std::lock_guard lock(state_->mutex);
    return state_->received;
}

}  // namespace lumenary::testing
