// The progress file's writer thread.
#include "ProgressWriter.h"

#include "Store.h"

#include <sys/resource.h>
#include <unistd.h>

ProgressWriter::ProgressWriter(QString path, std::function<void()> failed)
    : m_path(std::move(path)), m_failed(std::move(failed))
{}

ProgressWriter::~ProgressWriter()
{
    {
        const std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

void ProgressWriter::submit(Saved saved)
{
    {
        const std::lock_guard lock(m_mutex);
        m_pending = std::move(saved); // an older state still waiting is dropped here
    }
    m_changed.notify_all();
    // Started on first use: a start that never saves spends nothing on it.
    if (!m_thread.joinable())
        m_thread = std::thread([this] { run(); });
}

QStringList ProgressWriter::flush()
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return !m_pending && !m_writing; });
    return std::exchange(m_failures, {});
}

QStringList ProgressWriter::takeFailures()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_failures, {});
}

void ProgressWriter::run()
{
    // The writer gives way to the window on a busy processor: a click must not wait for an encoding under way.
    // On Linux a thread's nice value is its own.
    setpriority(PRIO_PROCESS, id_t(gettid()), 10);
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_pending || m_stopping; });
        if (!m_pending)
            return; // stopping, and everything handed over is written
        std::optional<Saved> saved = std::exchange(m_pending, std::nullopt);
        m_writing = true;
        lock.unlock();
        std::optional<QString> failure;
        try {
            writeFileAtomically(m_path, m_encoder.encode(*saved));
        } catch (const Failure& f) {
            failure = f.description();
        } catch (const std::exception& e) {
            failure = QString::fromLocal8Bit(e.what());
        }
        saved.reset(); // often the last reference to superseded data: let it go outside the lock
        lock.lock();
        if (failure)
            m_failures.append(*failure);
        m_writing = false;
        m_changed.notify_all();
        if (failure && m_failed) {
            lock.unlock();
            m_failed();
            lock.lock();
        }
    }
}
