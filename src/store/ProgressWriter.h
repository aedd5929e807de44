// Writing the progress file on a thread of its own, so that no change of learner data waits for the disk.
#pragma once

#include "model/Learner.h"

#include <QStringList>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

// The progress file's encoder keeps finished results in encoded form: they never change, and re-encoding
// hundreds of full pool copies on every click would dominate each save. Drafts change on every click, but their
// pool copy and question list do not, so those two parts are kept encoded as well. The returned bytes share the
// encoder's buffer; drop them before the next call so that the buffer can be reused.
class ProgressEncoder
{
public:
    QByteArray encode(const Saved& saved);

private:
    struct DraftParts
    {
        Pool pool;
        QByteArray poolBytes;
        QList<Question> questions;
        QByteArray questionBytes;
    };
    QByteArray encodeDraft(const Session& draft, QHash<QUuid, DraftParts>& kept) const;

    struct KeptResult
    {
        Result result;
        QByteArray bytes;
    };
    QHash<QUuid, KeptResult> m_results;
    QHash<QUuid, DraftParts> m_drafts;
    // Statistics change only when an answer is checked or a session finished, not on every click.
    QMap<QString, Stat> m_stats;
    QByteArray m_statsBytes;
    // The output buffer is reused: allocating tens of megabytes afresh for every save costs more than the copy.
    QByteArray m_out;
};

// One thread that writes the whole learner state to a file, atomically, each time it is handed a new one. Handing
// over is a cheap copy (the containers share their data). The thread always writes the newest state it was given:
// a state superseded before its turn is skipped, and states are written in the order they were handed over. The
// encoder and its caches belong to that thread alone. Every method is called from one thread, the owner's.
class ProgressWriter
{
public:
    // failed runs on the writer's thread after a failed write, with no lock held; it should only post a notice.
    ProgressWriter(QString path, std::function<void()> failed);
    // Writes what is still pending, then stops the thread.
    ~ProgressWriter();
    ProgressWriter(const ProgressWriter&) = delete;
    ProgressWriter& operator=(const ProgressWriter&) = delete;

    void submit(Saved saved);
    // Waits until the newest state handed over is written (or has failed); then as takeFailures.
    QStringList flush();
    // The descriptions of failed writes not yet taken, oldest first.
    QStringList takeFailures();

private:
    void run();

    const QString m_path;
    const std::function<void()> m_failed;
    ProgressEncoder m_encoder; // the writer thread's only
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Saved> m_pending;
    bool m_writing = false;
    bool m_stopping = false;
    QStringList m_failures;
    std::thread m_thread; // started by the first state handed over
};
