#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>

#include "CommunicationsService/app/EventHandler.h"
#include "CommunicationsService/app/TypedSubscriber.h"

/// @file
/// Events carried from the framework's delivery thread to the application's own loop.

namespace CommunicationsService::app {

/// How much a queue holds before it drops events. Both limits apply; an event that would
/// pass either is dropped and counted (see Lost).
struct QueueLimits {
    std::size_t events = 4096;           ///< events waiting
    std::size_t bytes = 4 * 1024 * 1024; ///< bytes they hold, as TypedSubscriber counts them
};

/// What a queue holds now and what it has dropped since it was made.
struct QueueCounts {
    std::size_t events = 0; ///< events waiting
    std::size_t bytes = 0;  ///< bytes they hold
    std::uint64_t lost = 0; ///< events dropped since the queue was made
};

/// Runs a job on the application's loop (for instance through a GLib idle source, Qt's
/// QMetaObject::invokeMethod or asio::post). Called on the delivery thread.
using Executor = std::function<void(std::function<void()> job)>;

class Inbox;

/// A bounded hand-over of typed events from the thread that delivers them to the
/// application's own thread, in the order they were delivered.
///
/// With a descriptor: watch descriptor() for reading in the application's loop (poll, epoll,
/// GLib's g_unix_fd_add, QSocketNotifier, asio's posix::stream_descriptor) and call
/// dispatch() when it is readable. It stays readable while events wait (level-triggered);
/// an occasional wake-up finds nothing.
///
/// @code
/// app::EventQueue queue;
/// app::TypedSubscriber subscriber(queue.sink());
/// service.subscribe(&subscriber);
/// // in the loop, when queue.descriptor() is readable:
/// queue.dispatch(handler);
/// @endcode
///
/// With an executor: each time events begin to wait, one job is handed to the executor,
/// which dispatches everything that waits to the handler given here.
///
/// When the application does not keep up, the queue stays within its limits by dropping the
/// newest events; a Lost notice with their number is delivered where they are missing.
///
/// The subscriber and the queue share the queue's state: either may be destroyed first,
/// while events are still delivered. Events delivered after the queue is gone are dropped.
/// The queue itself (dispatch, the executor's jobs and its destruction) belongs to one
/// thread, the application's.
class EventQueue {
public:
    /// A queue with a descriptor.
    explicit EventQueue(QueueLimits limits = {});
    /// A queue that dispatches to @p handler through @p executor; the handler must outlive
    /// the queue's jobs (they do nothing once the queue is destroyed).
    EventQueue(Executor executor, EventHandler& handler, QueueLimits limits = {});
    ~EventQueue();

    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    /// What a TypedSubscriber hands its events to; it keeps the queue's state alive.
    EventSink sink() const;

    /// Readable while events wait; -1 for a queue with an executor.
    int descriptor() const;

    /// Hands at most @p most waiting events (and the Lost notices among them) to @p handler,
    /// in order, on the calling thread. Returns how many events it handed over.
    std::size_t dispatch(EventHandler& handler,
                         std::size_t most = std::numeric_limits<std::size_t>::max());

    /// What the queue holds now and what it has dropped; from any thread.
    QueueCounts counts() const;

private:
    std::shared_ptr<Inbox> inbox;
};

} // namespace CommunicationsService::app
