#include "importer/ParsePipeline.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

#include "importer/MessageAssembler.h"

namespace lumenary::ParsePipeline {
namespace {

// A few batches in flight keep both threads busy without holding much text in memory.
constexpr std::size_t kBatchesInFlight = 4;

class InlineHandover : public Handover {
public:
    explicit InlineHandover(MessageAssembler& assembler) : assembler_(assembler) {}

    bool send(DraftBatch batch) override {
        assembler_.add(batch);
        for (auto& kept : batch.takeKept())
            spare_.push_back(std::move(kept));
        return true;
    }

    std::unique_ptr<std::string> buffer() override {
        if (spare_.empty())
            return std::make_unique<std::string>();
        auto reused = std::move(spare_.back());
        spare_.pop_back();
        return reused;
    }

private:
    MessageAssembler& assembler_;
    std::vector<std::unique_ptr<std::string>> spare_;
};

// The meeting point of the two threads.
class Exchange : public Handover {
public:
    bool send(DraftBatch batch) override {
        std::unique_lock lock(mutex_);
        roomLeft_.wait(lock, [&] { return abandoned_ || batches_.size() < kBatchesInFlight; });
        if (abandoned_)
            return false;
        batches_.push_back(std::move(batch));
        ready_.notify_one();
        return true;
    }

    std::unique_ptr<std::string> buffer() override {
        const std::lock_guard lock(mutex_);
        if (spare_.empty())
            return std::make_unique<std::string>();
        auto reused = std::move(spare_.back());
        spare_.pop_back();
        return reused;
    }

    /// The next batch, or nothing once the feeder has closed and all are taken.
    std::optional<DraftBatch> take() {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return closed_ || !batches_.empty(); });
        if (batches_.empty())
            return std::nullopt;
        DraftBatch batch = std::move(batches_.front());
        batches_.pop_front();
        roomLeft_.notify_one();
        return batch;
    }

    void recycle(std::vector<std::unique_ptr<std::string>> buffers) {
        const std::lock_guard lock(mutex_);
        for (auto& kept : buffers)
            spare_.push_back(std::move(kept));
    }

    /// The feeder is done.
    void close() {
        const std::lock_guard lock(mutex_);
        closed_ = true;
        ready_.notify_one();
    }

    /// The assembler failed: the feeder's sends now return false at once.
    void abandon() {
        const std::lock_guard lock(mutex_);
        abandoned_ = true;
        batches_.clear();
        roomLeft_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_, roomLeft_;
    std::deque<DraftBatch> batches_;
    std::vector<std::unique_ptr<std::string>> spare_;
    bool closed_ = false;
    bool abandoned_ = false;
};

}  // namespace

bool worthAThread(std::size_t textBytes) {
    return textBytes >= (std::size_t{1} << 20) && std::thread::hardware_concurrency() >= 2;
}

namespace {

void runInline(const Feed& feed, LineParser& parser, MessageAssembler& assembler,
               ParseOutcome& outcome, Run& result) {
    InlineHandover handover(assembler);
    result.fed = feed(parser, handover);
    if (result.fed)
        assembler.add(parser.finish(outcome));
}

// False when no thread could be started (the caller then runs inline).
bool runOnTwoThreads(const Feed& feed, LineParser& parser, MessageAssembler& assembler,
                     ParseOutcome& outcome, Run& result) {
    Exchange exchange;
    std::exception_ptr failure;
    std::thread feeder;
    try {
        feeder = std::thread([&] {
            try {
                result.fed = feed(parser, exchange);
                if (result.fed)
                    exchange.send(parser.finish(outcome));
            } catch (...) {
                failure = std::current_exception();
            }
            exchange.close();
        });
    } catch (const std::system_error&) {
        return false;
    }
    try {
        while (std::optional<DraftBatch> batch = exchange.take()) {
            assembler.add(*batch);
            exchange.recycle(batch->takeKept());
        }
    } catch (...) {
        exchange.abandon();
        feeder.join();
        throw;
    }
    feeder.join();
    if (failure)
        std::rethrow_exception(failure);
    return true;
}

}  // namespace

LayoutOrders withSecondPassOrders(LayoutOrders fixed, const LayoutOrders& again) {
    for (std::size_t layout = 0; layout < fixed.size(); ++layout) {
        if (again[layout])
            fixed[layout] = again[layout];
    }
    return fixed;
}

Run run(const Feed& feed, LayoutOrders fixedOrders, std::size_t textBytes, bool concurrent) {
    LineParser parser(fixedOrders);
    MessageAssembler assembler(textBytes);
    ParseOutcome outcome;
    Run result;
    if (!concurrent || !runOnTwoThreads(feed, parser, assembler, outcome, result)) {
        runInline(feed, parser, assembler, outcome, result);
    }
    if (!result.fed)
        return result;
    result.secondPassOrders = assembler.finish(outcome);
    if (!result.secondPassOrders)
        result.messages = assembler.takeMessages();
    return result;
}

}  // namespace lumenary::ParsePipeline
