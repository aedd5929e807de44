// The one central state object: pools in use, learner data, the running session and the status lines.
#pragma once

#include "appupdate/AppRelease.h"
#include "model/DiagramReview.h"
#include "model/Errors.h"
#include "model/Learner.h"
#include "model/Pack.h"
#include "model/Workers.h"
#include "store/ProgressWriter.h"

#include <QImage>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>

class QSettings;

class Store : public QObject
{
    Q_OBJECT

public:
    // Seconds of a clock that never goes back and keeps counting while the computer sleeps.
    using MonotonicClock = std::function<double()>;
    // The time of day as an instant; answers are recorded and review falls due by it.
    using WallClock = std::function<Dates::Instant()>;
    // Asks where to save a file; nullopt when the learner cancels.
    using SavePanel = std::function<std::optional<QString>(const QString& proposedName)>;
    // Runs a whole pool refresh on the worker thread: installed pack and corrections in, new pack out.
    using Refresher = std::function<Pack(const Pack&, const Corrections&)>;
    // Fetches and validates the maker's release record (blocking; called on a worker thread).
    using ReleaseFetcher = std::function<AppRelease()>;
    // Parses one official document into a one-pool pack; tests a confirmed figure review.
    using Parser = std::function<Pack(const QByteArray&, const QUrl&, const QString&, const Corrections&)>;

    // dataPath replaces the built-in pack, storagePath the storage folder (tests and previews).
    // Throws BuiltInPackError when the built-in pack is missing or cannot be decoded.
    explicit Store(std::optional<QString> dataPath = std::nullopt, std::optional<QString> storagePath = std::nullopt,
                   QObject* parent = nullptr);
    ~Store() override;

    static MonotonicClock bootClock();

    // Starts reading and decoding the built-in pack on another thread, so that it is ready while the window system
    // starts up; the next store made without a pack of its own takes it. Call it once, before that store is made.
    static void prefetchBuiltInPack();

    // Seams: the product installs the real ones by default; tests replace them.
    void setClock(MonotonicClock clock) { m_clock = std::move(clock); }
    void setWallClock(WallClock clock) { m_wallClock = std::move(clock); }
    Dates::Instant now() const { return m_wallClock(); }
    void setSavePanel(SavePanel panel) { m_savePanel = std::move(panel); }
    void setRefresher(Refresher refresher) { m_refresher = std::move(refresher); }
    void setReleaseFetcher(ReleaseFetcher fetcher) { m_releaseFetcher = std::move(fetcher); }
    void setParser(Parser parser) { m_parser = std::move(parser); }

    // Observable state.
    const Pack& pack() const { return m_pack; }
    const Saved& saved() const { return m_saved; }
    const std::optional<Session>& session() const { return m_session; }
    const std::optional<Result>& result() const { return m_result; }
    const QString& message() const { return m_message; }
    const QString& updateStatus() const { return m_updateStatus; }
    bool checkingApp() const { return m_checkingApp; }
    const QString& appUpdateStatus() const { return m_appUpdateStatus; }
    const std::optional<AppRelease>& availableRelease() const { return m_availableRelease; }
    bool checking() const { return m_checking; }
    const std::optional<DiagramReview>& diagramReview() const { return m_diagramReview; }

    void setMessage(const QString& message);
    void setResult(const std::optional<Result>& result);

    // Plain state.
    const Corrections& diagramCorrections() const { return m_diagramCorrections; }
    const QString& folder() const { return m_folder; }
    // The name of the copy in which start-up kept a progress file it could not read, if any.
    const std::optional<QString>& recoveryCopy() const { return m_recoveryCopy; }
    QString filePath(const QString& name) const;

    // Pools of the pack in display order: level, then newest period first.
    QList<Pool> pools() const;

    // Storage. save hands the state to the writer thread and returns at once; flush waits until the newest state
    // handed over is on disk, and reports a failed write at once instead of through the event loop.
    void save();
    void flush();
    void clearAllData();

    // Profiles.
    Profile profile() const;
    void select(const QUuid& id);
    void addProfile(const QString& name);
    void renameProfile(const QString& name);
    void setLevelComplete(const QString& level, bool complete);
    QList<Pool> studyPools() const;

    // Sessions.
    void begin(const Pool& pool, const QString& mode, const QString& name, bool shuffle, const QString& challenge,
               const std::optional<QList<Question>>& subset = std::nullopt);
    QString key(const Pool& pool, const Question& question) const;
    void answer(qint64 choice);
    void reveal();
    void record(const Question& question, qint64 answer, const Session& session);
    void move(qint64 position);
    void flag();
    void toggleBookmark(const Pool& pool, const Question& question);
    double elapsed() const;
    void persistDraft();
    QList<Session> savedSessions() const;
    void resume(const Session& session);
    void leave();
    void deleteSession(const QUuid& id);
    void finish();

    // Export of a finished result to a text file the learner chooses.
    void exportResult(const Result& result);

    // Figures.
    std::optional<QString> diagramFile(const Question& question) const;
    std::optional<QImage> image(const QString& name) const;

    // Official pool updates and figure review.
    void checkUpdates();
    std::optional<DiagramReview> demoDiagramReview();
    void saveDiagramReview(const DiagramReview& review, const QMap<QString, QString>& crops);

    // Application release check.
    void checkApplicationUpdates();

    // Stops running checks (child processes killed, text recognition abandoned, requests aborted) and waits at
    // most waitMs for their threads; called when the application quits. True when no worker is left running. The
    // progress file is written to the end whatever waitMs: no save is lost on quit.
    bool shutDown(int waitMs);
    // What stops the store's background work; a signal handler may request it.
    Cancellation& cancellation() const { return *m_workers.cancellation(); }

signals:
    void packChanged();
    void savedChanged();
    void sessionChanged();
    void resultChanged();
    void messageChanged();
    void updateStatusChanged();
    void checkingAppChanged();
    void appUpdateStatusChanged();
    void availableReleaseChanged();
    void checkingChanged();
    void diagramReviewChanged();
    // Emitted once a pool check (or release check) has finished, whatever its outcome.
    void updateCheckFinished();
    void releaseCheckFinished();

private:
    void startUp(const std::optional<QString>& dataPath);
    void loadProgress();
    void loadInstalledPack();
    void setSaved(Saved saved);
    void setSession(std::optional<Session> session);
    void setPack(Pack pack);
    void setUpdateStatus(const QString& status);
    void setChecking(bool checking);
    void setCheckingApp(bool checking);
    void setAppUpdateStatus(const QString& status);
    void setAvailableRelease(const std::optional<AppRelease>& release);
    void setDiagramReview(const std::optional<DiagramReview>& review);
    void reportSaveFailures(const QStringList& failures);
    // Keeps an unread progress file as a recovery copy (or finds an identical one); false when that failed.
    bool preserveProgress();

    Pack m_pack;
    Saved m_saved;
    std::optional<Session> m_session;
    std::optional<Result> m_result;
    QString m_message;
    QString m_updateStatus;
    bool m_checkingApp = false;
    QString m_appUpdateStatus;
    std::optional<AppRelease> m_availableRelease;
    bool m_checking = false;
    std::optional<DiagramReview> m_diagramReview;
    Corrections m_diagramCorrections;
    double m_tickStart = 0;
    double m_baseElapsed = 0;
    QString m_folder;
    bool m_progressRead = false;
    // progress.json holds progress that was not read and not yet copied aside: no save may replace it.
    bool m_progressUnpreserved = false;
    std::optional<QString> m_recoveryCopy;

    MonotonicClock m_clock;
    WallClock m_wallClock = &Dates::now;
    SavePanel m_savePanel;
    Refresher m_refresher;
    ReleaseFetcher m_releaseFetcher;
    Parser m_parser;
    std::unique_ptr<ProgressWriter> m_writer;
    // Last, so that it is destroyed first: its threads are stopped before anything they might report to.
    Workers m_workers;
};

// The built-in pack is part of the installation; without it the application cannot start.
class BuiltInPackError : public Failure
{
public:
    using Failure::Failure;
};

// Merges an installed pack over the built-in one: a pool period is replaced only by a newer revision.
Pack mergeInstalledPack(const Pack& builtIn, const Pack& installed);
// Sort order of the pool list: technician, general, extra; newest start date first within a level.
QList<Pool> displayOrder(const QList<Pool>& pools);

// Writes bytes to path atomically; throws FileError with the platform's description on failure.
void writeFileAtomically(const QString& path, const QByteArray& bytes);
