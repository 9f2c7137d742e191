#include "CommunicationsService/app/EventQueue.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#if defined(__linux__)
#include <sys/eventfd.h>
#endif

namespace CommunicationsService::app {

namespace {

// A descriptor that is readable from raise() until clear(): an eventfd on Linux, the two
// ends of a pipe elsewhere.
class Wakeup {
public:
    Wakeup() {
#if defined(__linux__)
        readEnd = writeEnd = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
        if (readEnd < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
#else
        int ends[2];
        if (::pipe(ends) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
        readEnd = ends[0];
        writeEnd = ends[1];
        for (int end : ends) {
            ::fcntl(end, F_SETFL, ::fcntl(end, F_GETFL) | O_NONBLOCK);
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
        }
#endif
    }
    ~Wakeup() {
        ::close(readEnd);
        if (writeEnd != readEnd) ::close(writeEnd);
    }
    Wakeup(const Wakeup&) = delete;
    Wakeup& operator=(const Wakeup&) = delete;

    int descriptor() const { return readEnd; }

    // A full pipe or counter is readable already: EAGAIN needs nothing more.
    void raise() {
        const std::uint64_t one = 1;
        while (::write(writeEnd, &one, writeEnd == readEnd ? sizeof one : 1) < 0 &&
               errno == EINTR) {
        }
    }

    // One read empties an eventfd; a pipe is read until it is empty.
    void clear() {
        std::uint64_t drained[8];
        for (;;) {
            const ssize_t got = ::read(readEnd, drained, sizeof drained);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0 || writeEnd == readEnd) return;
        }
    }

private:
    int readEnd = -1;
    int writeEnd = -1;
};

} // namespace

// The state that the queue and its subscribers share; whoever lets go last frees it.
class Inbox : public std::enable_shared_from_this<Inbox> {
public:
    Inbox(QueueLimits limits, Executor executor, EventHandler* handler)
        : limits(limits), executor(std::move(executor)), handler(handler) {
        if (!this->executor) wakeup.emplace();
    }

    void put(Event&& event, std::size_t size);
    std::size_t dispatch(EventHandler& to, std::size_t most);
    void close();

    int descriptor() const { return wakeup ? wakeup->descriptor() : -1; }

    QueueCounts counts() const {
        std::lock_guard<std::mutex> lock(mutex);
        return {entries.size(), bytes, lostTotal};
    }

private:
    struct Entry {
        Event event;
        std::size_t bytes;
        std::uint64_t lostBefore; // dropped between the previous entry and this one
    };
    struct Taken {
        std::uint64_t lostBefore = 0;
        std::optional<Event> event;
    };

    bool take(Taken& next, bool mayTakeEvent);
    void wake();
    void runJob();

    const QueueLimits limits;
    const Executor executor;
    EventHandler* const handler;
    std::optional<Wakeup> wakeup;

    mutable std::mutex mutex;
    std::deque<Entry> entries;
    std::size_t bytes = 0;
    std::uint64_t lostHere = 0; // dropped since the last entry
    std::uint64_t lostTotal = 0;
    bool awake = false; // the descriptor is raised, or a job is with the executor
    bool closed = false;
};

void Inbox::put(Event&& event, std::size_t size) {
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (closed) return;
        if (entries.size() < limits.events && size <= limits.bytes - bytes) {
            entries.push_back({std::move(event), size, std::exchange(lostHere, 0)});
            bytes += size;
        } else {
            ++lostHere;
            ++lostTotal;
        }
        if (awake) return;
        awake = true;
    }
    wake();
}

// The next event, or the loss after the last one; false when nothing is left (the queue
// is asleep again) or when an event waits but may not be taken (it stays awake).
bool Inbox::take(Taken& next, bool mayTakeEvent) {
    std::lock_guard<std::mutex> lock(mutex);
    if (closed) return false;
    if (!entries.empty()) {
        if (!mayTakeEvent) return false;
        Entry& front = entries.front();
        next.lostBefore = front.lostBefore;
        next.event.emplace(std::move(front.event));
        bytes -= front.bytes;
        entries.pop_front();
        return true;
    }
    awake = false;
    if (wakeup) wakeup->clear();
    next.event.reset();
    next.lostBefore = std::exchange(lostHere, 0);
    return next.lostBefore != 0;
}

std::size_t Inbox::dispatch(EventHandler& to, std::size_t most) {
    std::size_t handed = 0;
    Taken next;
    while (take(next, handed < most)) {
        if (next.lostBefore != 0) to.on(Lost{next.lostBefore});
        if (next.event) {
            to.handle(*next.event);
            ++handed;
        }
    }
    return handed;
}

void Inbox::wake() {
    if (wakeup) {
        wakeup->raise();
        return;
    }
    executor([weak = weak_from_this()] {
        if (const std::shared_ptr<Inbox> inbox = weak.lock()) inbox->runJob();
    });
}

// One job hands over what waited when it began, so that a steady stream of events leaves
// the loop its other work; what came meanwhile goes to the next job.
void Inbox::runJob() {
    dispatch(*handler, counts().events);
    {
        std::lock_guard<std::mutex> lock(mutex);
        if (!awake || closed) return;
    }
    wake();
}

void Inbox::close() {
    std::deque<Entry> dropped;
    std::lock_guard<std::mutex> lock(mutex);
    closed = true;
    dropped.swap(entries);
    bytes = 0;
}

EventQueue::EventQueue(QueueLimits limits)
    : inbox(std::make_shared<Inbox>(limits, Executor(), nullptr)) {}

EventQueue::EventQueue(Executor executor, EventHandler& handler, QueueLimits limits)
    : inbox(std::make_shared<Inbox>(limits, std::move(executor), &handler)) {}

EventQueue::~EventQueue() { inbox->close(); }

EventSink EventQueue::sink() const {
    return
        [inbox = inbox](Event&& event, std::size_t bytes) { inbox->put(std::move(event), bytes); };
}

int EventQueue::descriptor() const { return inbox->descriptor(); }

std::size_t EventQueue::dispatch(EventHandler& handler, std::size_t most) {
    // A handler may destroy the queue; the state stays until the dispatch ends.
    const std::shared_ptr<Inbox> keep = inbox;
    return keep->dispatch(handler, most);
}

QueueCounts EventQueue::counts() const { return inbox->counts(); }

} // namespace CommunicationsService::app
