#pragma once
// A stand-in for a model provider's HTTP server on 127.0.0.1, for tests that send real requests:
// it records every request it receives and answers each from a script. It serves on its own
// threads from construction to destruction, so the test's thread is free to make blocking calls
// against it, and so is a `lumenary` process started by the test (point it at baseUrl()).

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lumenary::testing {

class FakeProvider {
public:
    /// One scripted answer.
    struct Reply {
        int status = 200;
        std::string body = "{}";
        std::string contentType = "application/json";
        /// How long to hold the answer back; the wait ends early when the server is destroyed.
        double delaySeconds = 0;
        /// Drop the connection once the request is read, with no status line at all.
        bool closeWithoutAnswer = false;
    };

    /// A request as it arrived.
    struct Request {
        std::string method;
        std::string path;
        std::multimap<std::string, std::string> headers;  // names in lower case
        std::string body;

        /// The first value of the header `name` (any case), or "" when it is missing.
        std::string header(std::string_view name) const;
        bool hasHeader(std::string_view name) const;
    };

    /// Starts serving on a port the system picks. Aborts the test program when no port can be
    /// had, since no test could run without one.
    FakeProvider();
    /// Stops serving, waking any held-back answers, and waits for the server's threads.
    ~FakeProvider();
    FakeProvider(const FakeProvider&) = delete;
    FakeProvider& operator=(const FakeProvider&) = delete;

    /// "http://127.0.0.1:<port>", with no trailing slash.
    std::string baseUrl() const;
    int port() const;

    /// Adds an answer to the script; requests take them in order, whatever their path.
    void enqueue(Reply reply);
    void enqueue(int status, std::string body);
    /// The answer given once the script has run out (at first: 200 with "{}").
    void setDefault(Reply reply);

    /// Every request received so far, in the order they arrived.
    std::vector<Request> requests() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace lumenary::testing
