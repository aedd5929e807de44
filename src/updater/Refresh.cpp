// The update check's driver: finds the official pool documents, parses them and decides what to install.
#include "Refresh.h"

#include "TextRecognition.h"

#include <QSet>
#include <QStringDecoder>

#include <algorithm>

namespace OfficialUpdates {
namespace {

// The double quotes inside the two link patterns are part of them: a link is taken only from an href attribute.
const QString poolLinkPattern =
    QStringLiteral(R"re((?i)href=["']([^"']*(?:technician|general|extra)[^"']*question-pool[^"']*)["'])re");
const QString documentLinkPattern = QStringLiteral(R"re((?i)href=["']([^"']+\.docx)["'])re");
const QString periodPattern = QStringLiteral("(20[0-9]{2})-(20[0-9]{2})");
const QString indexPath = QStringLiteral("/index.php/amateur-question-pools");

QString text(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes); // invalid bytes become the replacement character
}

QString absolute(const QUrl& url)
{
    return url.toString(QUrl::FullyEncoded);
}

// The last path component with its escapes decoded, or as written when the escapes do not make UTF-8.
QString fileName(const QUrl& url)
{
    const QString path = url.path(QUrl::FullyEncoded);
    const QString last = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    const QByteArray bytes = QByteArray::fromPercentEncoding(last.toLatin1());
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString decoded = decoder(bytes);
    return decoder.hasError() ? last : decoded;
}

QUrl officialOrFormat(const QString& href, const QUrl& base)
{
    try {
        return officialURL(href, base);
    } catch (...) {
        throw UpdateError(UpdateError::format);
    }
}

// Questions compared without their figures: a figure asset may be renamed while the question stays the same.
bool sameQuestions(const QList<Question>& a, const QList<Question>& b)
{
    if (a.size() != b.size())
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const Question& x = a.at(i);
        const Question& y = b.at(i);
        if (x.id != y.id || x.group != y.group || x.prompt != y.prompt || x.answers != y.answers ||
            x.correct != y.correct || x.reference != y.reference)
            return false;
    }
    return true;
}

} // namespace

bool shouldInstall(const Pool& n, const Pool* o, const Corrections& corrections)
{
    if (!o)
        return true;
    if (n.revision != o->revision)
        return n.revision > o->revision; // an older document never replaces a newer one
    if (n.documentHash != o->documentHash)
        return true;
    if (!sameQuestions(n.questions, o->questions))
        return true;
    // Same document again: reinstall only when the learner has reviewed its figures since.
    return corrections.contains(n.documentHash.value_or(QString()));
}

Pack refresh(const Pack& pack, const Corrections& corrections, const Fetch& fetch, const Parse& parse,
             const QString& today)
{
    QList<Pool> pools = pack.pools;
    QMap<QString, QString> assets = pack.assets;
    QSet<QString> seen;
    QSet<QString> done;

    QString root = QStringLiteral("https://") + officialHost();
    if (const std::optional<int> port = officialPort())
        root += QLatin1Char(':') + QString::number(*port);
    const QUrl index = officialURL(root + indexPath);
    const QString page = text(fetch(index));

    const QList<QStringList> links = matches(poolLinkPattern, page);
    if (links.isEmpty())
        throw UpdateError(UpdateError::format);

    for (const QStringList& link : links) {
        const QUrl poolPage = officialOrFormat(link.value(1), index);
        const QString address = absolute(poolPage);
        if (seen.contains(address))
            continue;
        seen.insert(address);

        const QString lower = address.toLower();
        const QList<QStringList> period = matches(periodPattern, lower);
        if (!period.isEmpty() && today >= period.first().value(2) + QStringLiteral("-07-01"))
            continue; // that pool period is over

        const QString level = lower.contains(QLatin1StringView("technician")) ? QStringLiteral("technician")
                              : lower.contains(QLatin1StringView("general"))  ? QStringLiteral("general")
                                                                              : QStringLiteral("extra");

        const QString listing = text(fetch(poolPage));
        QList<QUrl> documents;
        for (const QStringList& m : matches(documentLinkPattern, listing))
            documents.append(officialOrFormat(m.value(1), poolPage));

        // The newest dated document; of equal dates the one listed first.
        std::optional<QUrl> chosen;
        QString newest;
        for (const QUrl& document : std::as_const(documents)) {
            QString rev;
            try {
                rev = revision(fileName(document));
            } catch (...) {
                continue; // an undated document is not a pool release
            }
            if (!chosen || rev > newest) {
                chosen = document;
                newest = rev;
            }
        }
        if (!chosen)
            throw UpdateError(UpdateError::format);

        const Pack result = parse(fetch(*chosen), *chosen, level, corrections);
        if (result.pools.size() != 1)
            throw UpdateError(UpdateError::format);
        const Pool& fresh = result.pools.first();
        done.insert(level);

        const auto same = [&](const Pool& p) { return p.level == fresh.level && p.validFrom == fresh.validFrom; };
        const auto old = std::find_if(pools.cbegin(), pools.cend(), same);
        if (!shouldInstall(fresh, old == pools.cend() ? nullptr : &*old, corrections))
            continue;
        pools.removeIf(same);
        pools.append(fresh);
        // Figures of a replaced pool stay: a running session or a stored result may still show them.
        for (auto it = result.assets.cbegin(); it != result.assets.cend(); ++it)
            assets.insert(it.key(), it.value());
    }

    if (done != QSet<QString>{QStringLiteral("technician"), QStringLiteral("general"), QStringLiteral("extra")})
        throw UpdateError(UpdateError::format);

    Pack out;
    out.schema = pack.schema;
    out.pools = pools;
    out.assets = assets;
    out.validate();
    return out;
}

Pack refresh(const Pack& pack, const Corrections& corrections, const Fetch& fetch)
{
    // One recognizer for the whole check: the recognition model is loaded once, not once per document.
    TextRecognizer recognizer;
    const Parse parseDocument = [&recognizer](const QByteArray& data, const QUrl& source, const QString& level,
                                              const Corrections& c) {
        return parse(data, source, level, c, {}, &recognizer);
    };
    return refresh(pack, corrections, fetch, parseDocument, Dates::today());
}

} // namespace OfficialUpdates
