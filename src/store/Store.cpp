// The store's start-up, storage and pool order.
#include "Store.h"

#include "Settings.h"
#include "model/BuiltInPack.h"
#include "model/Json.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSaveFile>
#include <QStandardPaths>

#include <algorithm>
#include <future>
#include <time.h>

namespace {

const QString progressName = QStringLiteral("progress.json");
const QString installedPackName = QStringLiteral("official-pools.json");
const QString correctionsName = QStringLiteral("diagram-corrections.json");
const QString reviewName = QStringLiteral("diagram-review.json");
const QString recoveryPrefix = QStringLiteral("progress-unreadable-");

QByteArray readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw FileError(file.errorString());
    return file.readAll();
}

const QString builtInPackPath = QStringLiteral(":/pools.bin");

// A decoded pack, with the reason it failed validation if it did: a pack that cannot be decoded stops the store,
// one that decodes but is invalid leaves it running with a message.
struct LoadedPack
{
    Pack pack;
    std::exception_ptr invalid;
};

LoadedPack loadPack(const QString& path)
{
    // The built-in pack passed every check when the build wrote its compact form, and it is part of the program.
    if (path == builtInPackPath)
        return {BuiltInPack::decode(readFile(path)), nullptr};
    LoadedPack loaded{Pack::fromBytes(readFile(path)), nullptr};
    try {
        loaded.pack.validate();
    } catch (const Failure&) {
        loaded.invalid = std::current_exception();
    }
    return loaded;
}

std::future<LoadedPack>& prefetchedBuiltInPack()
{
    static std::future<LoadedPack> pending;
    return pending;
}

int levelRank(const QString& level)
{
    if (level == QLatin1StringView("technician"))
        return 0;
    if (level == QLatin1StringView("general"))
        return 1;
    return 2;
}

} // namespace

void writeFileAtomically(const QString& path, const QByteArray& bytes)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw FileError(file.errorString());
    if (file.write(bytes) != bytes.size()) {
        const QString error = file.errorString();
        file.cancelWriting();
        throw FileError(error);
    }
    if (!file.commit())
        throw FileError(file.errorString());
}

namespace {

// Replaces the first occurrence of an empty placeholder such as "pool":{} with the encoded value. A key followed by
// an unescaped quote cannot occur inside a JSON string, so the first match is the placeholder itself.
void splice(QByteArray& json, QByteArrayView placeholder, const QByteArray& value)
{
    const qsizetype at = json.indexOf(placeholder);
    Q_ASSERT(at >= 0);
    // Keep the key and colon, replace the two characters of the empty value.
    json.replace(at + placeholder.size() - 2, 2, value);
}

} // namespace

QByteArray ProgressEncoder::encodeDraft(const Session& draft, QHash<QUuid, DraftParts>& kept) const
{
    DraftParts parts;
    const auto cached = m_drafts.constFind(draft.id);
    // Comparing shared copies is immediate; a pool changed by anything else is simply encoded again.
    if (cached != m_drafts.constEnd() && cached->pool == draft.pool) {
        parts.pool = cached->pool;
        parts.poolBytes = cached->poolBytes;
    } else {
        parts.pool = draft.pool;
        parts.poolBytes = Json::compact(draft.pool.toJson());
    }
    if (cached != m_drafts.constEnd() && cached->questions == draft.questions) {
        parts.questions = cached->questions;
        parts.questionBytes = cached->questionBytes;
    } else {
        QJsonArray list;
        for (const Question& q : draft.questions)
            list.append(q.toJson());
        parts.questions = draft.questions;
        parts.questionBytes = Json::compact(list);
    }

    Session light = draft;
    light.pool = Pool();
    light.questions.clear();
    QJsonObject object = light.toJson();
    object.insert(QStringLiteral("pool"), QJsonObject());
    QByteArray bytes = Json::compact(object);
    // The session's own question list first: a pool copy without questions holds an empty list of its own.
    splice(bytes, "\"questions\":[]", parts.questionBytes);
    splice(bytes, "\"pool\":{}", parts.poolBytes);
    kept.insert(draft.id, std::move(parts));
    return bytes;
}

QByteArray ProgressEncoder::encode(const Saved& saved)
{
    // The profiles, statistics and bookmarks are small and re-encoded each time; finished results are encoded once,
    // and of each draft only the small changing fields.
    // A kept encoding is used only for the very result it was made from: a hand-edited file may hold two results
    // with one id, and each is written as it was read.
    QHash<QUuid, KeptResult> keptResults;
    keptResults.reserve(saved.results.size());
    QList<QByteArray> results;
    results.reserve(saved.results.size());
    qsizetype resultBytes = 0;
    for (const Result& r : saved.results) {
        const auto it = m_results.constFind(r.id);
        QByteArray encoded = it != m_results.constEnd() && it->result == r ? it->bytes : Json::compact(r.toJson());
        resultBytes += encoded.size() + 1;
        if (!keptResults.contains(r.id))
            keptResults.insert(r.id, KeptResult{r, encoded});
        results.append(std::move(encoded));
    }
    m_results = std::move(keptResults);

    QHash<QUuid, DraftParts> keptDrafts;
    QByteArray drafts = "[";
    for (qsizetype i = 0; i < saved.drafts.size(); ++i) {
        if (i > 0)
            drafts.append(',');
        drafts.append(encodeDraft(saved.drafts.at(i), keptDrafts));
    }
    drafts.append(']');
    m_drafts = std::move(keptDrafts);

    // Equal maps that share their data compare at once; a changed map no longer shares with the kept copy.
    if (m_statsBytes.isEmpty() || !(m_stats == saved.stats)) {
        QJsonObject statMap;
        for (auto it = saved.stats.cbegin(); it != saved.stats.cend(); ++it)
            statMap.insert(it.key(), it.value().toJson());
        m_stats = saved.stats;
        m_statsBytes = Json::compact(statMap);
    }

    Saved rest = saved;
    rest.results.clear();
    rest.drafts.clear();
    rest.stats.clear();
    QByteArray head = rest.toBytes();
    splice(head, "\"stats\":{}", m_statsBytes);
    splice(head, "\"drafts\":[]", drafts);
    // head ends with the empty results array and the closing brace; splice the cached results in.
    static const QByteArray emptyResults = QByteArrayLiteral("\"results\":[]");
    const qsizetype at = head.indexOf(emptyResults);
    Q_ASSERT(at >= 0);
    QByteArray& out = m_out;
    out.resize(0); // keeps the capacity when the previous bytes were dropped
    out.reserve(head.size() + resultBytes);
    out.append(head.constData(), at + emptyResults.size() - 1);
    for (qsizetype i = 0; i < saved.results.size(); ++i) {
        if (i > 0)
            out.append(',');
        out.append(results.at(i));
    }
    out.append(head.constData() + at + emptyResults.size() - 1, head.size() - (at + emptyResults.size() - 1));
    return out;
}

Pack mergeInstalledPack(const Pack& builtIn, const Pack& installed)
{
    QList<Pool> list = builtIn.pools;
    for (const Pool& p : installed.pools) {
        const bool newerOrSameKept = std::any_of(list.cbegin(), list.cend(), [&](const Pool& o) {
            return o.level == p.level && o.validFrom == p.validFrom && o.revision >= p.revision;
        });
        if (newerOrSameKept)
            continue;
        list.removeIf([&](const Pool& o) { return o.level == p.level && o.validFrom == p.validFrom; });
        list.append(p);
    }
    Pack merged;
    merged.schema = installed.schema;
    merged.pools = list;
    merged.assets = installed.assets;
    for (auto it = builtIn.assets.cbegin(); it != builtIn.assets.cend(); ++it) {
        if (!merged.assets.contains(it.key()))
            merged.assets.insert(it.key(), it.value());
    }
    return merged;
}

QList<Pool> displayOrder(const QList<Pool>& pools)
{
    QList<Pool> sorted = pools;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Pool& a, const Pool& b) {
        const int ra = levelRank(a.level), rb = levelRank(b.level);
        if (ra != rb)
            return ra < rb;
        return a.validFrom > b.validFrom;
    });
    return sorted;
}

void Store::prefetchBuiltInPack()
{
    prefetchedBuiltInPack() = std::async(std::launch::async, loadPack, builtInPackPath);
}

Store::MonotonicClock Store::bootClock()
{
    // CLOCK_MONOTONIC stops while the computer is suspended; time asleep with a session open must count.
    return [] {
        timespec ts{};
        clock_gettime(CLOCK_BOOTTIME, &ts);
        return double(ts.tv_sec) + double(ts.tv_nsec) / 1e9;
    };
}

Store::Store(std::optional<QString> dataPath, std::optional<QString> storagePath, QObject* parent)
    : QObject(parent), m_saved(Saved::initial()),
      m_updateStatus(QStringLiteral("Bundled official pools ready for offline use.")), m_clock(bootClock())
{
    m_tickStart = m_clock();
    m_folder = storagePath ? *storagePath
                           : QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
                                 QStringLiteral("/Kestovan Aerowen");
    // A failed write is reported on this thread, through the event loop.
    m_writer = std::make_unique<ProgressWriter>(filePath(progressName), [this] {
        QMetaObject::invokeMethod(
            this, [this] { reportSaveFailures(m_writer->takeFailures()); }, Qt::QueuedConnection);
    });

    try {
        m_diagramCorrections = CorrectionsJson::fromBytes(readFile(filePath(correctionsName)));
    } catch (const std::exception&) {
        m_diagramCorrections.clear();
    }
    try {
        m_diagramReview = DiagramReview::fromBytes(readFile(filePath(reviewName)));
    } catch (const std::exception&) {
        m_diagramReview.reset();
    }

    const QString packPath = dataPath ? *dataPath : builtInPackPath;
    LoadedPack loaded;
    try {
        std::future<LoadedPack>& prefetched = prefetchedBuiltInPack();
        loaded = !dataPath && prefetched.valid() ? prefetched.get() : loadPack(packPath);
    } catch (const Failure& failure) {
        throw BuiltInPackError(QStringLiteral("The built-in question pools (%1) could not be loaded: %2")
                                   .arg(packPath, failure.description()));
    }
    m_pack = std::move(loaded.pack);

    try {
        if (loaded.invalid)
            std::rethrow_exception(loaded.invalid);
        if (!QDir().mkpath(m_folder))
            throw FileError(QStringLiteral("The folder “%1” could not be created.").arg(m_folder));
        loadProgress();
        loadInstalledPack();
    } catch (const Failure& failure) {
        m_message = QStringLiteral("Storage could not be prepared: ") + failure.description();
        // Whatever stopped start-up, a progress file it did not read must survive the next save: a broken
        // installation must never cost a learner their history.
        if (QFile::exists(filePath(progressName)) && !m_progressRead) {
            m_progressUnpreserved = !m_recoveryCopy;
            if (preserveProgress())
                m_message +=
                    QStringLiteral(" Your saved progress was not read; it has been kept as “%1”.").arg(*m_recoveryCopy);
        }
    }
}

bool Store::preserveProgress()
{
    const QString path = filePath(progressName);
    QFile original(path);
    if (!original.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = original.readAll();
    original.close();
    // A copy with the same bytes from an earlier start already preserves this file.
    const QStringList copies =
        QDir(m_folder).entryList({recoveryPrefix + QStringLiteral("*.json")}, QDir::Files, QDir::Name);
    for (const QString& name : copies) {
        QFile copy(filePath(name));
        if (copy.size() == bytes.size() && copy.open(QIODevice::ReadOnly) && copy.readAll() == bytes) {
            m_recoveryCopy = name;
            m_progressUnpreserved = false;
            return true;
        }
    }
    const QString name = recoveryPrefix + QString::number(QDateTime::currentSecsSinceEpoch()) + QStringLiteral(".json");
    if (!original.copy(filePath(name)))
        return false;
    m_recoveryCopy = name;
    m_progressUnpreserved = false;
    return true;
}

Store::~Store()
{
    m_workers.shutDown(-1);
    m_writer.reset(); // writes what is pending
}

bool Store::shutDown(int waitMs)
{
    flush();
    return m_workers.shutDown(waitMs);
}

void Store::loadProgress()
{
    const QString path = filePath(progressName);
    if (!QFile::exists(path))
        return;
    try {
        // Read into memory, not mapped: a program that shortens the file meanwhile cannot take the application down.
        Saved loaded = Saved::fromBytes(readFile(path));
        if (loaded.profiles.isEmpty())
            throw DataError(DataError::invalid);
        m_saved = std::move(loaded);
        m_progressRead = true;
    } catch (const Failure& failure) {
        m_message = QStringLiteral("Saved progress could not be read. The original file has been preserved. ") +
                    failure.description();
        if (!preserveProgress()) {
            m_progressUnpreserved = true;
            throw FileError(QStringLiteral("The unreadable progress file could not be copied beside it."));
        }
    }
}

void Store::loadInstalledPack()
{
    Pack installed;
    try {
        installed = Pack::fromBytes(readFile(filePath(installedPackName)));
        installed.validate();
    } catch (const Failure&) {
        return; // a missing or damaged installed pack leaves the built-in pools in use
    }
    m_pack = mergeInstalledPack(m_pack, installed);
}

QString Store::filePath(const QString& name) const
{
    return m_folder + QLatin1Char('/') + name;
}

QList<Pool> Store::pools() const
{
    return displayOrder(m_pack.pools);
}

void Store::save()
{
    try {
        if (m_progressUnpreserved && !preserveProgress())
            throw FileError(QStringLiteral("The progress file that could not be read is not replaced before a copy "
                                           "of it has been kept."));
        m_writer->submit(m_saved);
    } catch (const Failure& failure) {
        setMessage(QStringLiteral("Progress could not be saved: ") + failure.description());
    }
}

void Store::flush()
{
    reportSaveFailures(m_writer->flush());
}

void Store::reportSaveFailures(const QStringList& failures)
{
    // Of several failed writes, the latest one says what is wrong now.
    if (!failures.isEmpty())
        setMessage(QStringLiteral("Progress could not be saved: ") + failures.last());
}

void Store::clearAllData()
{
    try {
        Saved fresh = Saved::initial();
        flush(); // earlier changes first, so that none of them lands over the cleared file
        m_writer->submit(fresh);
        if (const QStringList failures = m_writer->flush(); !failures.isEmpty())
            throw FileError(failures.last());
        m_progressUnpreserved = false; // clearing everything replaces an unread file on purpose
        setSaved(std::move(fresh));
        setSession(std::nullopt);
        setResult(std::nullopt);
        setMessage(QString());
        Settings::open()->remove(Settings::studyTextSize);

        QDir dir(m_folder);
        const QStringList names = dir.entryList(QDir::Files | QDir::Hidden | QDir::System);
        if (!dir.exists())
            throw FileError(QStringLiteral("The folder “%1” could not be listed.").arg(m_folder));
        for (const QString& name : names) {
            if (!name.startsWith(recoveryPrefix) || QFileInfo(name).suffix() != QLatin1StringView("json"))
                continue;
            QFile file(dir.filePath(name));
            if (!file.remove())
                throw FileError(file.errorString());
        }
        m_recoveryCopy.reset();
    } catch (const Failure& failure) {
        setMessage(QStringLiteral("Could not finish clearing local data: ") + failure.description());
    }
}

void Store::setMessage(const QString& message)
{
    if (m_message == message)
        return;
    m_message = message;
    emit messageChanged();
}

void Store::setResult(const std::optional<Result>& result)
{
    m_result = result;
    emit resultChanged();
}

void Store::setSaved(Saved saved)
{
    m_saved = std::move(saved);
    emit savedChanged();
}

void Store::setSession(std::optional<Session> session)
{
    m_session = std::move(session);
    emit sessionChanged();
}

void Store::setPack(Pack pack)
{
    m_pack = std::move(pack);
    emit packChanged();
}

void Store::setUpdateStatus(const QString& status)
{
    m_updateStatus = status;
    emit updateStatusChanged();
}

void Store::setChecking(bool checking)
{
    m_checking = checking;
    emit checkingChanged();
}

void Store::setCheckingApp(bool checking)
{
    m_checkingApp = checking;
    emit checkingAppChanged();
}

void Store::setAppUpdateStatus(const QString& status)
{
    m_appUpdateStatus = status;
    emit appUpdateStatusChanged();
}

void Store::setAvailableRelease(const std::optional<AppRelease>& release)
{
    m_availableRelease = release;
    emit availableReleaseChanged();
}

void Store::setDiagramReview(const std::optional<DiagramReview>& review)
{
    m_diagramReview = review;
    emit diagramReviewChanged();
}
