// Background threads owned by one object, which stops their work and waits for them when it shuts down.
#pragma once

#include "Cancellation.h"

#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <memory>

// Work handed to these threads runs with the owner's cancellation as its current one, so child processes,
// text recognition and network requests inside it stop as soon as the owner shuts down. Nothing is left to a
// global thread pool that static destruction would have to wait for.
class Workers
{
public:
    Workers() = default;
    ~Workers() { shutDown(-1); }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    template <typename Function> auto run(Function function)
    {
        return QtConcurrent::run(&m_pool, [cancellation = m_cancellation, function = std::move(function)]() mutable {
            const Cancellation::Scope scope(cancellation);
            return function();
        });
    }

    // Asks the running work to stop and waits for it, at most waitMs (-1: as long as it takes). True when every
    // worker has finished. Work started afterwards is cancelled from its first check.
    bool shutDown(int waitMs)
    {
        m_cancellation->request();
        return m_pool.waitForDone(waitMs);
    }

    const std::shared_ptr<Cancellation>& cancellation() const { return m_cancellation; }

private:
    std::shared_ptr<Cancellation> m_cancellation = std::make_shared<Cancellation>();
    QThreadPool m_pool;
};
