// Pool pack records, their JSON form and validation.
#include "Pack.h"

#include "Errors.h"
#include "Json.h"
#include "JsonScan.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

const QString kId = QStringLiteral("id");

} // namespace

bool isStrictBase64(const QString& text)
{
    if (text.size() % 4 != 0)
        return false;
    const qsizetype padding = text.endsWith(QLatin1StringView("==")) ? 2 : text.endsWith(QLatin1Char('=')) ? 1 : 0;
    // Figures run to megabytes and are checked at every start: branch-free tests in blocks of 16 characters, which
    // the compiler turns into vector instructions.
    const auto bad = [](char16_t c) -> unsigned {
        const auto letter = char16_t(c | 0x20); // 'A'-'Z' onto 'a'-'z', and nothing else into that range
        return (char16_t(letter - u'a') >= 26) & (char16_t(c - u'0') >= 10) & (c != u'+') & (c != u'/');
    };
    const char16_t* chars = QStringView(text).utf16();
    const qsizetype end = text.size() - padding;
    unsigned found = 0;
    qsizetype i = 0;
    for (; i + 16 <= end; i += 16) {
        for (int j = 0; j < 16; ++j)
            found |= bad(chars[i + j]);
    }
    for (; i < end; ++i)
        found |= bad(chars[i]);
    return found == 0;
}

QString levelLetter(const QString& level)
{
    if (level == QLatin1StringView("technician"))
        return QStringLiteral("T");
    if (level == QLatin1StringView("general"))
        return QStringLiteral("G");
    if (level == QLatin1StringView("extra"))
        return QStringLiteral("E");
    return {};
}

Question Question::fromJson(const QJsonObject& o)
{
    Question q;
    q.id = Json::string(o, kId);
    q.group = Json::string(o, QStringLiteral("group"));
    q.prompt = Json::string(o, QStringLiteral("prompt"));
    q.answers = Json::strings(Json::array(o, QStringLiteral("answers")), QStringLiteral("answers"));
    q.correct = Json::integer(o, QStringLiteral("correct"));
    q.reference = Json::string(o, QStringLiteral("reference"));
    q.figure = Json::optionalString(o, QStringLiteral("figure"));
    return q;
}

QJsonObject Question::toJson() const
{
    QJsonObject o{
        {kId, id},
        {QStringLiteral("group"), group},
        {QStringLiteral("prompt"), prompt},
        {QStringLiteral("answers"), Json::fromStrings(answers)},
        {QStringLiteral("correct"), correct},
        {QStringLiteral("reference"), reference},
    };
    if (figure)
        o.insert(QStringLiteral("figure"), *figure);
    return o;
}

Pool Pool::fromJson(const QJsonObject& o)
{
    Pool p;
    p.id = Json::string(o, kId);
    p.level = Json::string(o, QStringLiteral("level"));
    p.name = Json::string(o, QStringLiteral("name"));
    p.validFrom = Json::string(o, QStringLiteral("validFrom"));
    p.validUntil = Json::string(o, QStringLiteral("validUntil"));
    p.revision = Json::string(o, QStringLiteral("revision"));
    p.documentHash = Json::optionalString(o, QStringLiteral("documentHash"));
    p.examCount = Json::integer(o, QStringLiteral("examCount"));
    p.passCount = Json::integer(o, QStringLiteral("passCount"));
    p.source = Json::string(o, QStringLiteral("source"));
    p.topics = Json::stringMap(Json::object(o, QStringLiteral("topics")), QStringLiteral("topics"));
    const QJsonArray questions = Json::array(o, QStringLiteral("questions"));
    p.questions.reserve(questions.size());
    for (const QJsonValue& v : questions)
        p.questions.append(Question::fromJson(Json::objectValue(v, QStringLiteral("questions"))));
    return p;
}

QJsonObject Pool::toJson() const
{
    QJsonArray list;
    for (const Question& q : questions)
        list.append(q.toJson());
    QJsonObject o{
        {kId, id},
        {QStringLiteral("level"), level},
        {QStringLiteral("name"), name},
        {QStringLiteral("validFrom"), validFrom},
        {QStringLiteral("validUntil"), validUntil},
        {QStringLiteral("revision"), revision},
        {QStringLiteral("examCount"), examCount},
        {QStringLiteral("passCount"), passCount},
        {QStringLiteral("source"), source},
        {QStringLiteral("topics"), Json::fromMap(topics)},
        {QStringLiteral("questions"), list},
    };
    if (documentHash)
        o.insert(QStringLiteral("documentHash"), *documentHash);
    return o;
}

bool Pool::current(const QString& on) const
{
    return validFrom <= on && on < validUntil;
}

bool Pool::upcoming() const
{
    return Dates::today() < validFrom;
}

QStringList Pool::groups() const
{
    QSet<QString> seen;
    QStringList result;
    for (const Question& q : questions) {
        if (!seen.contains(q.group)) {
            seen.insert(q.group);
            result.append(q.group);
        }
    }
    std::sort(result.begin(), result.end());
    return result;
}

Pack Pack::fromJson(const QJsonObject& o)
{
    Pack pack;
    pack.schema = Json::integer(o, QStringLiteral("schema"));
    const QJsonArray pools = Json::array(o, QStringLiteral("pools"));
    pack.pools.reserve(pools.size());
    for (const QJsonValue& v : pools)
        pack.pools.append(Pool::fromJson(Json::objectValue(v, QStringLiteral("pools"))));
    pack.assets = Json::stringMap(Json::object(o, QStringLiteral("assets")), QStringLiteral("assets"));
    return pack;
}

Pack Pack::fromBytes(const QByteArray& bytes)
{
    // Figures are most of a pack's bytes. Their map of names to Base64 text is taken straight from the text when it
    // is that simple; anything else is left to the JSON reader.
    if (std::optional<JsonScan::Split> split = JsonScan::takeStringMap(bytes, "assets")) {
        Pack pack = fromJson(Json::parseObject(split->rest));
        pack.assets = std::move(split->map);
        return pack;
    }
    return fromJson(Json::parseObject(bytes));
}

QJsonObject Pack::toJson() const
{
    QJsonArray list;
    for (const Pool& p : pools)
        list.append(p.toJson());
    return QJsonObject{
        {QStringLiteral("schema"), schema},
        {QStringLiteral("pools"), list},
        {QStringLiteral("assets"), Json::fromMap(assets)},
    };
}

QByteArray Pack::toBytes() const
{
    return Json::compact(toJson());
}

void Pack::validate() const
{
    const auto require = [](bool ok) {
        if (!ok)
            throw DataError(DataError::invalid);
    };
    static const QRegularExpression idPattern(QStringLiteral("^[TGE][0-9][A-Z][0-9]{2}$"));

    require(schema == 1);
    require(!pools.isEmpty());
    QSet<QString> poolIds;
    for (const Pool& p : pools) {
        require(!poolIds.contains(p.id));
        poolIds.insert(p.id);
    }
    for (const Pool& p : pools) {
        const QString letter = levelLetter(p.level);
        require(!letter.isEmpty());
        require(Dates::validDate(p.validFrom) && Dates::validDate(p.validUntil) && Dates::validDate(p.revision));
        require(p.validFrom < p.validUntil);
        if (p.level == QLatin1StringView("extra"))
            require(p.examCount == 50 && p.passCount == 37);
        else
            require(p.examCount == 35 && p.passCount == 26);
        require(p.groups().size() == p.examCount);
        require(p.questions.size() >= 10 * p.examCount);
        QSet<QString> questionIds;
        for (const Question& q : p.questions) {
            require(!questionIds.contains(q.id));
            questionIds.insert(q.id);
        }
        for (const Question& q : p.questions) {
            require(idPattern.match(q.id).hasMatch());
            require(q.id.startsWith(letter));
            require(q.answers.size() == 4);
            require(q.correct >= 0 && q.correct <= 3);
            require(!q.prompt.isEmpty() &&
                    std::none_of(q.answers.cbegin(), q.answers.cend(), [](const QString& a) { return a.isEmpty(); }));
            require(q.group == q.id.left(3));
            if (q.figure)
                require(!assets.isEmpty() && assets.contains(*q.figure));
        }
    }
    for (auto it = assets.cbegin(); it != assets.cend(); ++it) {
        require(!it.key().contains(QLatin1Char('/')));
        require(isStrictBase64(it.value()));
    }
}

std::optional<Pool> chosenPool(const QList<Pool>& pools, const QString& id, const QString& today)
{
    for (const Pool& p : pools) {
        if (p.id == id)
            return p;
    }
    for (const Pool& p : pools) {
        if (p.current(today))
            return p;
    }
    return pools.isEmpty() ? std::nullopt : std::optional(pools.first());
}
