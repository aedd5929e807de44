// JSON forms of the figure review and the corrections map.
#include "DiagramReview.h"

#include "Json.h"

namespace {

QByteArray decodeBase64(const QString& text, const QString& where)
{
    const auto result = QByteArray::fromBase64Encoding(text.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (!result)
        throw DecodeError(QStringLiteral("The data could not be read because “%1” is not Base64.").arg(where));
    return *result;
}

} // namespace

DiagramReview DiagramReview::fromJson(const QJsonObject& o)
{
    DiagramReview r;
    r.isDemo = Json::optionalBoolean(o, QStringLiteral("isDemo"));
    r.document = decodeBase64(Json::string(o, QStringLiteral("document")), QStringLiteral("document"));
    r.source = Json::string(o, QStringLiteral("source"));
    r.level = Json::string(o, QStringLiteral("level"));
    r.documentKey = Json::string(o, QStringLiteral("documentKey"));
    for (const QString& image : Json::strings(Json::array(o, QStringLiteral("images")), QStringLiteral("images")))
        r.images.append(decodeBase64(image, QStringLiteral("images")));
    r.labels = Json::strings(Json::array(o, QStringLiteral("labels")), QStringLiteral("labels"));
    for (const QJsonValue& v : Json::array(o, QStringLiteral("questions")))
        r.questions.append(Question::fromJson(Json::objectValue(v, QStringLiteral("questions"))));
    return r;
}

DiagramReview DiagramReview::fromBytes(const QByteArray& bytes)
{
    return fromJson(Json::parseObject(bytes));
}

QJsonObject DiagramReview::toJson() const
{
    QJsonArray imageList;
    for (const QByteArray& image : images)
        imageList.append(QString::fromLatin1(image.toBase64()));
    QJsonArray questionList;
    for (const Question& q : questions)
        questionList.append(q.toJson());
    QJsonObject o{
        {QStringLiteral("document"), QString::fromLatin1(document.toBase64())},
        {QStringLiteral("source"), source},
        {QStringLiteral("level"), level},
        {QStringLiteral("documentKey"), documentKey},
        {QStringLiteral("images"), imageList},
        {QStringLiteral("labels"), Json::fromStrings(labels)},
        {QStringLiteral("questions"), questionList},
    };
    if (isDemo)
        o.insert(QStringLiteral("isDemo"), *isDemo);
    return o;
}

QByteArray DiagramReview::toBytes() const
{
    return Json::compact(toJson());
}

namespace CorrectionsJson {

Corrections fromBytes(const QByteArray& bytes)
{
    const QJsonObject o = Json::parseObject(bytes);
    Corrections corrections;
    for (auto it = o.constBegin(); it != o.constEnd(); ++it)
        corrections.insert(it.key(), Json::stringMap(Json::objectValue(it.value(), it.key()), it.key()));
    return corrections;
}

QByteArray toBytes(const Corrections& corrections)
{
    QJsonObject o;
    for (auto it = corrections.cbegin(); it != corrections.cend(); ++it)
        o.insert(it.key(), Json::fromMap(it.value()));
    return Json::compact(o);
}

} // namespace CorrectionsJson
