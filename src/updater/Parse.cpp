// Parsing one official pool document into a validated one-pool pack.
#include "TextRecognition.h"
#include "UpdaterInternals.h"

#include "model/Errors.h"

namespace OfficialUpdates {

namespace {

// The en dash in these patterns is deliberate: documents and file names use it between years and in headings.
const QString periodPattern = QStringLiteral("(20[0-9]{2})[-–](20[0-9]{2})");
const QString firstQuestionPattern = QStringLiteral("(?m)^[TGE]1A01\\s*\\([ABCD]\\)");
const QString questionBlockPattern =
    QStringLiteral("(?ms)^([TGE][0-9][A-Z][0-9]{2})\\s*\\(([ABCD])\\)([^\\n]*)\\n(.*?)(?=\\n~~)");
const QString answerMarkerPattern = QStringLiteral("(?m)^[ABCD]\\.\\s*");
const QString subelementHeadingPattern =
    QStringLiteral("(?m)^SUBELEMENT\\s+([TGE][0-9])\\s*[-–:]\\s*(.*?)(?:\\s*\\[|\\n)");

// Blanks, tabs and other space characters, but not line ends.
bool isHorizontalSpace(QChar c)
{
    return c == QLatin1Char('\t') || c.category() == QChar::Separator_Space;
}

QString trimmedHorizontally(const QString& text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isHorizontalSpace(text.at(begin)))
        ++begin;
    while (end > begin && isHorizontalSpace(text.at(end - 1)))
        --end;
    return text.mid(begin, end - begin);
}

// Positions of the answer markers in one question's text, each with its start and end.
struct Marker
{
    qsizetype start;
    qsizetype end;
    QChar letter;
};

QList<Marker> answerMarkers(const QString& inner)
{
    static const QRegularExpression re(answerMarkerPattern, QRegularExpression::UseUnicodePropertiesOption);
    QList<Marker> markers;
    auto it = re.globalMatch(inner);
    while (it.hasNext()) {
        const auto m = it.next();
        markers.append({m.capturedStart(0), m.capturedEnd(0), m.captured(0).at(0)});
    }
    return markers;
}

} // namespace

PoolText readPoolText(const QString& text)
{
    const QList<QStringList> first = matches(firstQuestionPattern, text);
    if (first.isEmpty())
        throw UpdateError(UpdateError::format);
    const QString body = text.mid(text.indexOf(first.first().at(0)));
    PoolText parsed;
    for (const QStringList& heading : matches(subelementHeadingPattern, text))
        parsed.topics.insert(heading.at(1), heading.at(2));
    static const QString letters = QStringLiteral("ABCD");
    for (const QStringList& block : matches(questionBlockPattern, body)) {
        const QString& id = block.at(1);
        const QString& inner = block.at(4);
        const QList<Marker> markers = answerMarkers(inner);
        if (markers.size() != 4)
            throw UpdateError(UpdateError::format);
        for (int k = 0; k < 4; ++k) {
            if (markers.at(k).letter != letters.at(k))
                throw UpdateError(UpdateError::format);
        }
        Question q;
        q.id = id;
        q.group = id.left(3);
        q.prompt = inner.left(markers.at(0).start).trimmed();
        for (int k = 0; k < 4; ++k) {
            const qsizetype from = markers.at(k).end;
            const qsizetype to = k < 3 ? markers.at(k + 1).start : inner.size();
            q.answers.append(inner.mid(from, to - from).trimmed());
        }
        q.correct = letters.indexOf(block.at(2));
        q.reference = trimmedHorizontally(block.at(3));
        const QList<QStringList> mentions = matches(figureLabelPattern, q.prompt);
        if (!mentions.isEmpty()) {
            const QString label = normalFigure(mentions.first().at(1));
            q.figure = label;
            parsed.referenced.insert(label);
        }
        parsed.questions.append(q);
    }
    return parsed;
}

namespace {

QString levelName(const QString& level)
{
    if (level == QLatin1StringView("extra"))
        return QStringLiteral("Amateur Extra");
    return level.left(1).toUpper() + level.mid(1);
}

} // namespace

Pack parse(const QByteArray& data, const QUrl& source, const QString& level, const Corrections& corrections,
           const Identify& identify, TextRecognizer* recognizer)
{
    const QString encodedName = source.path(QUrl::FullyEncoded).section(QLatin1Char('/'), -1);
    const QString name = percentDecoded(encodedName).value_or(encodedName);

    const QList<QStringList> periods = matches(periodPattern, name);
    if (periods.isEmpty())
        throw UpdateError(UpdateError::format);
    const int start = periods.first().at(1).toInt();
    const int end = periods.first().at(2).toInt();
    if (end - start != 4)
        throw UpdateError(UpdateError::format);
    const QString revisionDate = revision(name);

    const TemporaryDocument document(data);
    const QString text =
        readParagraphs(member(document.path(), QStringLiteral("word/document.xml"))).join(QLatin1Char('\n'));

    PoolText parsed = readPoolText(text);

    const QStringList targets =
        readRelationships(member(document.path(), QStringLiteral("word/_rels/document.xml.rels")));
    const QString digest = sha256Hex(data);

    FigureInput figureInput;
    figureInput.archive = document.path();
    figureInput.level = level;
    figureInput.startYear = start;
    figureInput.targets = targets;
    figureInput.referenced = parsed.referenced;
    figureInput.digest = digest;
    figureInput.corrections = corrections;
    figureInput.identify = identify;
    std::optional<TextRecognizer> ownRecognizer;
    figureInput.recognizer = recognizer ? recognizer : &ownRecognizer.emplace();
    figureInput.document = data;
    figureInput.source = source.toString(QUrl::FullyEncoded);
    figureInput.questions = parsed.questions;
    const FigureOutcome figures = figureStep(figureInput);

    for (Question& q : parsed.questions) {
        if (q.figure)
            q.figure = figures.figures.value(*q.figure);
    }

    const bool extra = level == QLatin1StringView("extra");
    Pool pool;
    // The first four bytes of the document's digest, as sha256Hex(data, 4) gives them.
    pool.id = level + QLatin1Char('-') + QString::number(start) + QLatin1Char('-') + revisionDate + QLatin1Char('-') +
              digest.left(8);
    pool.level = level;
    pool.name = levelName(level);
    pool.validFrom = QString::number(start) + QStringLiteral("-07-01");
    pool.validUntil = QString::number(end) + QStringLiteral("-07-01");
    pool.revision = revisionDate;
    pool.documentHash = digest;
    pool.examCount = extra ? 50 : 35;
    pool.passCount = extra ? 37 : 26;
    pool.source = source.toString(QUrl::FullyEncoded);
    pool.topics = parsed.topics;
    pool.questions = parsed.questions;

    Pack pack;
    pack.schema = 1;
    pack.pools = {pool};
    pack.assets = figures.assets;
    pack.validate();
    return pack;
}

} // namespace OfficialUpdates
