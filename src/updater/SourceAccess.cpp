// Access to the official site: error descriptions, address rules, the curl download, patterns and revision dates.
#include "ChildProcess.h"
#include "OfficialUpdates.h"

#include <Config.h>

#include <QHash>
#include <QRegularExpression>
#include <QStringDecoder>

namespace OfficialUpdates {

namespace {

// Set only by tests, before any check runs; the product always uses the configured host.
struct SiteOverride
{
    QString host;
    std::optional<int> port;
};
std::optional<SiteOverride>& siteOverride()
{
    static std::optional<SiteOverride> instance;
    return instance;
}

QString describe(UpdateError::Case c)
{
    switch (c) {
    case UpdateError::download:
        return QStringLiteral("The official NCVEC source could not be downloaded.");
    case UpdateError::format:
        return QStringLiteral(
            "The official source format has changed or failed validation. The installed pools were kept.");
    case UpdateError::figures:
        return QStringLiteral("Official diagram labels could not all be verified. The installed pools were kept.");
    case UpdateError::combinedFigures:
        return QStringLiteral("An official image contains several figures and needs verified separation before it "
                              "can be imported. The installed pools were kept.");
    }
    return {};
}

constexpr qint64 downloadLimit = 15'000'000;

bool inQuerySet(unsigned char c)
{
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return QByteArrayView("-._~!$&'()*+,;=:@/?").contains(char(c));
}

// Every byte outside the query set becomes a %XX escape; '%' itself is outside, so escapes are escaped again.
QString percentEncoded(const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    QByteArray out;
    out.reserve(utf8.size());
    for (const char ch : utf8) {
        const auto c = static_cast<unsigned char>(ch);
        if (inQuerySet(c)) {
            out += char(c);
        } else {
            out += '%';
            out += QByteArray::number(c >> 4, 16).toUpper();
            out += QByteArray::number(c & 0xF, 16).toUpper();
        }
    }
    return QString::fromLatin1(out);
}

// The scheme and host exactly as written in the reference (the URL parser would lower-case them), or empty.
struct Written
{
    QString scheme;
    std::optional<QString> host;
};
Written writtenParts(const QString& reference)
{
    Written w;
    static const QRegularExpression schemePattern(QStringLiteral("^([A-Za-z][A-Za-z0-9+.-]*):"));
    QString rest = reference;
    const auto m = schemePattern.match(reference);
    if (m.hasMatch()) {
        w.scheme = m.captured(1);
        rest = reference.mid(m.capturedLength(0));
    }
    if (rest.startsWith(QLatin1StringView("//"))) {
        QString authority = rest.mid(2);
        const qsizetype end = authority.indexOf(QRegularExpression(QStringLiteral("[/?#]")));
        if (end >= 0)
            authority.truncate(end);
        const qsizetype at = authority.lastIndexOf(QLatin1Char('@'));
        if (at >= 0)
            authority = authority.mid(at + 1);
        static const QRegularExpression portPattern(QStringLiteral(":[0-9]*$"));
        if (!authority.startsWith(QLatin1Char('[')))
            authority.remove(portPattern);
        w.host = authority;
    }
    return w;
}

} // namespace

UpdateError::UpdateError(Case c) : Failure(describe(c)), m_case(c)
{}

QString officialHost()
{
    if (siteOverride())
        return siteOverride()->host;
    return QString::fromUtf8(Config::ncvecHost);
}

std::optional<int> officialPort()
{
    if (siteOverride())
        return siteOverride()->port;
    return std::nullopt;
}

void setOfficialSiteForTesting(const QString& host, std::optional<int> port)
{
    siteOverride() = SiteOverride{host, port};
}

QUrl officialRoot()
{
    QUrl root;
    root.setScheme(QStringLiteral("https"));
    root.setHost(QStringLiteral("www.") + officialHost());
    if (officialPort())
        root.setPort(*officialPort());
    root.setPath(QStringLiteral("/"));
    return root;
}

QUrl officialURL(const QString& href, const std::optional<QUrl>& relativeTo)
{
    QString t = href;
    t.replace(QLatin1StringView("&amp;"), QLatin1StringView("&"));
    t = percentEncoded(t);
    if (t.isEmpty())
        throw UpdateError(UpdateError::format);

    const QUrl reference(t, QUrl::StrictMode);
    if (!reference.isValid())
        throw UpdateError(UpdateError::format);
    const QUrl absolute = relativeTo ? relativeTo->resolved(reference) : reference;
    if (!absolute.isValid() || absolute.isRelative())
        throw UpdateError(UpdateError::format);

    // Scheme and host are compared exactly as written, so take them from the text where it gives them.
    const Written written = writtenParts(t);
    const QString scheme = written.scheme.isEmpty() ? absolute.scheme() : written.scheme;
    const QString host = written.host ? *written.host : absolute.host(QUrl::FullyEncoded);
    const QString bare = officialHost();
    const bool schemeOk = scheme == QLatin1StringView("https") || scheme == QLatin1StringView("http");
    const bool hostOk = host == bare || host == QStringLiteral("www.") + bare;
    if (!schemeOk || !hostOk || !absolute.userName().isEmpty() || !absolute.password().isEmpty() ||
        absolute.userInfo().contains(QLatin1Char(':')))
        throw UpdateError(UpdateError::format);

    QUrl result = absolute;
    result.setScheme(QStringLiteral("https"));
    result.setHost(QStringLiteral("www.") + bare);
    if (officialPort())
        result.setPort(*officialPort());
    return result;
}

std::optional<QString> percentDecoded(const QString& text)
{
    const QByteArray in = text.toUtf8();
    QByteArray out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        if (in.at(i) != '%') {
            out += in.at(i);
            continue;
        }
        if (i + 2 >= in.size() || !isxdigit(static_cast<unsigned char>(in.at(i + 1))) ||
            !isxdigit(static_cast<unsigned char>(in.at(i + 2))))
            return std::nullopt;
        out += char(QByteArray(in.mid(i + 1, 2)).toInt(nullptr, 16));
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString decoded = decoder(out);
    if (decoder.hasError())
        return std::nullopt;
    return decoded;
}

QByteArray download(const QUrl& url)
{
    const QString text = url.toString(QUrl::FullyEncoded);
    const QUrl u = officialURL(percentDecoded(text).value_or(text));
    const QStringList arguments{
        QStringLiteral("--disable"),      QStringLiteral("--fail"),      QStringLiteral("--silent"),
        QStringLiteral("--show-error"),   QStringLiteral("--max-time"),  QStringLiteral("25"),
        QStringLiteral("--max-filesize"), QStringLiteral("15000000"),    QStringLiteral("--proto"),
        QStringLiteral("=https"),         u.toString(QUrl::FullyEncoded)};
    const ProcessOutput run = runProcess(QStringLiteral("/usr/bin/curl"), arguments, downloadLimit);
    if (!run.succeeded || run.overLimit || run.output.isEmpty())
        throw UpdateError(UpdateError::download);
    return run.output;
}

QList<QStringList> matches(const QString& pattern, const QString& text)
{
    // The updater runs a handful of fixed patterns thousands of times per document; compiling each once per
    // thread keeps parse fast without sharing anything between threads.
    thread_local QHash<QString, QRegularExpression> compiled;
    auto found = compiled.constFind(pattern);
    if (found == compiled.cend()) {
        if (compiled.size() >= 64)
            compiled.clear();
        found = compiled.insert(pattern, QRegularExpression(pattern, QRegularExpression::UseUnicodePropertiesOption));
    }
    const QRegularExpression& re = found.value();
    QList<QStringList> result;
    if (!re.isValid())
        return result;
    const int groups = re.captureCount();
    auto it = re.globalMatch(text);
    while (it.hasNext()) {
        const QRegularExpressionMatch m = it.next();
        QStringList found;
        found.reserve(groups + 1);
        for (int g = 0; g <= groups; ++g)
            found.append(m.captured(g));
        result.append(found);
    }
    return result;
}

QString revision(const QString& fileName)
{
    static const QString pattern = QStringLiteral(
        "(?i)(January|February|March|April|May|June|July|August|September|October|November|December|Jan|Feb|Mar|Apr|"
        "Jun|Jul|Aug|Sep|Sept|Oct|Nov|Dec)[ ._-]+([0-9]{1,2})[, ._-]+(20[0-9]{2})");
    static const QStringList months{QStringLiteral("jan"), QStringLiteral("feb"), QStringLiteral("mar"),
                                    QStringLiteral("apr"), QStringLiteral("may"), QStringLiteral("jun"),
                                    QStringLiteral("jul"), QStringLiteral("aug"), QStringLiteral("sep"),
                                    QStringLiteral("oct"), QStringLiteral("nov"), QStringLiteral("dec")};
    const QList<QStringList> found = matches(pattern, fileName);
    if (found.isEmpty())
        throw UpdateError(UpdateError::format);
    const QStringList& last = found.last();
    const qsizetype month = months.indexOf(last.at(1).left(3).toLower());
    if (month < 0)
        throw UpdateError(UpdateError::format);
    bool ok = false;
    const int day = last.at(2).toInt(&ok);
    if (!ok || day < 1 || day > 31)
        throw UpdateError(UpdateError::format);
    return QStringLiteral("%1-%2-%3")
        .arg(last.at(3))
        .arg(month + 1, 2, 10, QLatin1Char('0'))
        .arg(day, 2, 10, QLatin1Char('0'));
}

} // namespace OfficialUpdates
