// Official pool updates: the background check, its status line, and the learner's figure review.
#include "Store.h"

#include "Settings.h"
#include "updater/OfficialUpdates.h"

#include <QBuffer>
#include <QDateTime>
#include <QFile>
#include <QFutureWatcher>
#include <QLocale>
#include <QPainter>
#include <QtConcurrent/QtConcurrentRun>

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace {

const QString installedPackName = QStringLiteral("official-pools.json");
const QString correctionsName = QStringLiteral("diagram-corrections.json");
const QString reviewName = QStringLiteral("diagram-review.json");
const QString unavailablePrefix =
    QStringLiteral("Update check unavailable. Your installed pools remain usable offline. ");

// What a background check hands back to the main thread: a new pack, a review request, or a failure's text.
struct CheckOutcome
{
    std::optional<Pack> pack;
    std::optional<DiagramReview> review;
    QString failure;
};

// The learner-facing text of whatever the current catch block holds.
QString describeCurrentException()
{
    try {
        throw;
    } catch (const Failure& failure) {
        return failure.description();
    } catch (const std::exception& error) {
        return QString::fromUtf8(error.what());
    } catch (...) {
        return QStringLiteral("An unknown error occurred.");
    }
}

// Pool checks run at a lower scheduling priority, so that reading documents and recognising text never slow the
// interface. On Linux a thread's nice value belongs to that thread alone and cannot be raised back without
// privileges: the store's worker threads do only background checks.
void lowerPriority()
{
    thread_local bool lowered = false;
    if (lowered)
        return;
    lowered = true;
    // Relative to what the thread inherited, so a check stays below the interface even when the whole
    // application was started with a lower priority. Best effort: a failure changes nothing.
    const auto thread = static_cast<id_t>(::gettid());
    errno = 0;
    const int inherited = getpriority(PRIO_PROCESS, thread);
    if (errno == 0)
        setpriority(PRIO_PROCESS, thread, std::min(inherited + 10, 19));
}

const QStringList sampleLabels = {QStringLiteral("E6-1"), QStringLiteral("E6-2"), QStringLiteral("E6-3"),
                                  QStringLiteral("E7-1")};

} // namespace

void Store::checkUpdates()
{
    if (m_checking)
        return;
    setChecking(true);
    setUpdateStatus(QStringLiteral("Checking the official NCVEC question pools…"));

    const Refresher refresher =
        m_refresher ? m_refresher : Refresher([](const Pack& pack, const Corrections& corrections) {
            return OfficialUpdates::refresh(pack, corrections);
        });
    auto* watcher = new QFutureWatcher<CheckOutcome>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        const CheckOutcome outcome = watcher->result();
        watcher->deleteLater();
        QString failure = outcome.failure;
        if (outcome.pack) {
            try {
                writeFileAtomically(filePath(installedPackName), outcome.pack->toBytes());
                setPack(*outcome.pack);
                const QString stamp = QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
                Settings::open()->setValue(Settings::lastPoolCheck, stamp);
                setUpdateStatus(QStringLiteral("Official NCVEC pools checked ") + stamp +
                                QStringLiteral(". Ready for offline use."));
            } catch (...) {
                failure = describeCurrentException();
            }
        } else if (outcome.review) {
            setDiagramReview(outcome.review);
            try {
                writeFileAtomically(filePath(reviewName), outcome.review->toBytes());
            } catch (...) {
                // The review stays pending in memory; the learner can still finish it in this run.
            }
            setUpdateStatus(QStringLiteral(
                "Diagrams need review. Open Updates → Review Diagrams. Your installed pools remain available."));
        }
        if (!failure.isEmpty())
            setUpdateStatus(unavailablePrefix + failure);
        setChecking(false);
        emit updateCheckFinished();
    });
    // The worker gets its own copies, so nothing is shared with the main thread while it runs.
    watcher->setFuture(m_workers.run([refresher, pack = m_pack, corrections = m_diagramCorrections] {
        lowerPriority();
        CheckOutcome outcome;
        try {
            outcome.pack = refresher(pack, corrections);
        } catch (const OfficialUpdates::ReviewRequest& request) {
            outcome.review = request.review();
        } catch (...) {
            outcome.failure = describeCurrentException();
            if (outcome.failure.isEmpty())
                outcome.failure = QStringLiteral("An unknown error occurred.");
        }
        return outcome;
    }));
}

std::optional<DiagramReview> Store::demoDiagramReview()
{
    constexpr int cellWidth = 600, cellHeight = 500;
    QImage sheet(2 * cellWidth, 2 * cellHeight, QImage::Format_RGB32);
    sheet.fill(Qt::white);
    {
        QPainter painter(&sheet);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        for (qsizetype i = 0; i < sampleLabels.size(); ++i) {
            const auto asset = m_pack.assets.constFind(sampleLabels.at(i) + QStringLiteral(".png"));
            const auto bytes =
                asset == m_pack.assets.constEnd()
                    ? QByteArray::FromBase64Result{QByteArray(), QByteArray::Base64DecodingStatus::IllegalInputLength}
                    : QByteArray::fromBase64Encoding(asset->toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
            QImage figure;
            if (!bytes || !figure.loadFromData(*bytes)) {
                setMessage(QStringLiteral("The sample diagram is unavailable."));
                return std::nullopt;
            }
            // Scaled to leave at least 20 points left and right and 30 above and below, centred in its cell.
            const double scale = std::min(560.0 / std::max(figure.width(), 1), 440.0 / std::max(figure.height(), 1));
            const QSizeF size(figure.width() * scale, figure.height() * scale);
            const QPointF cell((i % 2) * cellWidth, (i / 2) * cellHeight);
            const QRectF target(cell.x() + (cellWidth - size.width()) / 2, cell.y() + (cellHeight - size.height()) / 2,
                                size.width(), size.height());
            painter.drawImage(target, figure);
        }
    }
    QByteArray png;
    QBuffer buffer(&png);
    if (!buffer.open(QIODevice::WriteOnly) || !sheet.save(&buffer, "PNG"))
        return std::nullopt;

    DiagramReview review;
    review.isDemo = true;
    review.source = OfficialUpdates::officialRoot().toString();
    review.level = QStringLiteral("extra");
    review.documentKey = QStringLiteral("demo");
    review.images = {png};
    review.labels = sampleLabels;
    for (const Pool& pool : std::as_const(m_pack.pools)) {
        if (pool.level != QLatin1StringView("extra"))
            continue;
        for (const Question& question : pool.questions) {
            const QList<QStringList> mentions =
                OfficialUpdates::matches(OfficialUpdates::figureLabelPattern, question.prompt);
            if (mentions.isEmpty())
                continue;
            const QString label = OfficialUpdates::normalFigure(mentions.first().value(1));
            if (!sampleLabels.contains(label))
                continue;
            Question reviewed = question;
            reviewed.figure = label;
            review.questions.append(reviewed);
        }
    }
    return review;
}

void Store::saveDiagramReview(const DiagramReview& review, const QMap<QString, QString>& crops)
{
    if (review.isDemo.value_or(false)) {
        // The sample changes nothing; it only insists that every figure was picked.
        for (const QString& label : review.labels) {
            if (!crops.contains(label)) {
                setMessage(QStringLiteral("Select every sample figure first."));
                return;
            }
        }
        return;
    }

    Corrections corrections = m_diagramCorrections;
    QMap<QString, QString>& entry = corrections[review.documentKey];
    for (auto it = crops.cbegin(); it != crops.cend(); ++it)
        entry.insert(it.key(), it.value());

    const Parser parser =
        m_parser ? m_parser
                 : Parser([](const QByteArray& data, const QUrl& source, const QString& level, const Corrections& c) {
                       return OfficialUpdates::parse(data, source, level, c);
                   });
    try {
        // The crops must let the document through before they are kept; the pack itself is not used. The test
        // runs here, on the interface's thread, yet a termination signal still stops it through the cancellation.
        const Cancellation::Scope scope(m_workers.cancellation());
        parser(review.document, QUrl(review.source), review.level, corrections);
        writeFileAtomically(filePath(correctionsName), CorrectionsJson::toBytes(corrections));
    } catch (const OfficialUpdates::ReviewRequest&) {
        // Crops that still leave a figure unverified.
        setMessage(QStringLiteral("Could not finish diagram review: ") +
                   OfficialUpdates::UpdateError(OfficialUpdates::UpdateError::figures).description());
        return;
    } catch (...) {
        setMessage(QStringLiteral("Could not finish diagram review: ") + describeCurrentException());
        return;
    }

    m_diagramCorrections = corrections;
    setDiagramReview(std::nullopt);
    QFile::remove(filePath(reviewName));
    checkUpdates();
}
