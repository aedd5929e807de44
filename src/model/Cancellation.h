// A request to stop long work early: set by whoever owns the work (the application quitting), checked by the work.
#pragma once

#include "Errors.h"

#include <atomic>
#include <memory>

class Cancellation
{
public:
    // Safe to call from a signal handler: it only sets a lock-free flag.
    void request() noexcept { m_requested.store(true, std::memory_order_relaxed); }
    bool requested() const noexcept { return m_requested.load(std::memory_order_relaxed); }

    // The cancellation of the work running on the calling thread; none outside such work.
    static const Cancellation* current() noexcept;

    // Makes a cancellation the calling thread's current one while the scope lives.
    class Scope
    {
    public:
        explicit Scope(std::shared_ptr<const Cancellation> cancellation);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        std::shared_ptr<const Cancellation> m_cancellation;
        const Cancellation* m_previous;
    };

private:
    static_assert(std::atomic<bool>::is_always_lock_free);
    std::atomic<bool> m_requested{false};
};

// Whether the work on the calling thread has been asked to stop.
inline bool cancellationRequested() noexcept
{
    const Cancellation* c = Cancellation::current();
    return c && c->requested();
}

// Long work stopped because its owner asked it to.
class Cancelled : public Failure
{
public:
    Cancelled() : Failure(QStringLiteral("The work was stopped because the application is quitting.")) {}
};
