// Learner records and the progress file's JSON form.
#include "Learner.h"

#include "PoolCopies.h"

#include "Json.h"

QString trimmedName(const QString& name)
{
    return name.trimmed();
}

bool isGuestName(const QString& name)
{
    const QString trimmed = trimmedName(name);
    return trimmed.isEmpty() || trimmed.compare(guestName, Qt::CaseInsensitive) == 0;
}

Profile Profile::fromJson(const QJsonObject& o)
{
    Profile p;
    p.id = Json::uuid(o, QStringLiteral("id"));
    p.name = Json::string(o, QStringLiteral("name"));
    if (o.contains(QStringLiteral("completedLevels")))
        p.completedLevels =
            Json::stringSet(Json::array(o, QStringLiteral("completedLevels")), QStringLiteral("completedLevels"));
    return p;
}

QJsonObject Profile::toJson() const
{
    QJsonObject o{{QStringLiteral("id"), Json::uuidText(id)}, {QStringLiteral("name"), name}};
    if (completedLevels)
        o.insert(QStringLiteral("completedLevels"), Json::fromSet(*completedLevels));
    return o;
}

namespace {

// The optional memory fields of a statistic: written only when present, read only when there.
const QString stabilityKey = QStringLiteral("stability"), difficultyKey = QStringLiteral("difficulty"),
              reviewedKey = QStringLiteral("reviewed"), dueKey = QStringLiteral("due");

} // namespace

Stat Stat::fromJson(const QJsonObject& o)
{
    return Stat{Json::integer(o, QStringLiteral("attempts")),
                Json::integer(o, QStringLiteral("correct")),
                Json::boolean(o, QStringLiteral("lastCorrect")),
                Json::optionalNumber(o, stabilityKey),
                Json::optionalNumber(o, difficultyKey),
                Json::optionalNumber(o, reviewedKey),
                Json::optionalNumber(o, dueKey)};
}

QJsonObject Stat::toJson() const
{
    QJsonObject o{{QStringLiteral("attempts"), attempts},
                  {QStringLiteral("correct"), correct},
                  {QStringLiteral("lastCorrect"), lastCorrect}};
    for (const auto& [key, value] :
         {std::pair{&stabilityKey, stability}, {&difficultyKey, difficulty}, {&reviewedKey, reviewed}, {&dueKey, due}})
        if (value)
            o.insert(*key, *value);
    return o;
}

Session Session::fromJson(const QJsonObject& o, const PoolCopies* copies)
{
    Session s;
    s.id = Json::uuid(o, QStringLiteral("id"));
    s.profile = Json::uuid(o, QStringLiteral("profile"));
    s.name = Json::string(o, QStringLiteral("name"));
    const Pool* shared = copies ? copies->pool(o.value(QStringLiteral("pool"))) : nullptr;
    s.pool = shared ? *shared : Pool::fromJson(Json::object(o, QStringLiteral("pool")));
    s.mode = Json::string(o, QStringLiteral("mode"));
    s.challenge = Json::string(o, QStringLiteral("challenge"));
    const QJsonArray questions = Json::array(o, QStringLiteral("questions"));
    s.questions.reserve(questions.size());
    for (const QJsonValue& v : questions) {
        const Question* known = copies ? copies->question(v) : nullptr;
        s.questions.append(known ? *known : Question::fromJson(Json::objectValue(v, QStringLiteral("questions"))));
    }
    const QJsonObject answers = Json::object(o, QStringLiteral("answers"));
    for (auto it = answers.constBegin(); it != answers.constEnd(); ++it)
        s.answers.insert(it.key(), Json::integerValue(it.value(), it.key()));
    s.flags = Json::stringSet(Json::array(o, QStringLiteral("flags")), QStringLiteral("flags"));
    s.revealed = Json::stringSet(Json::array(o, QStringLiteral("revealed")), QStringLiteral("revealed"));
    s.index = Json::integer(o, QStringLiteral("index"));
    s.started = Json::number(o, QStringLiteral("started"));
    s.elapsed = Json::number(o, QStringLiteral("elapsed"));
    s.eligible = Json::boolean(o, QStringLiteral("eligible"));
    return s;
}

QJsonObject Session::toJson() const
{
    QJsonArray questionList;
    for (const Question& q : questions)
        questionList.append(q.toJson());
    QJsonObject answerMap;
    for (auto it = answers.cbegin(); it != answers.cend(); ++it)
        answerMap.insert(it.key(), it.value());
    return QJsonObject{
        {QStringLiteral("id"), Json::uuidText(id)},
        {QStringLiteral("profile"), Json::uuidText(profile)},
        {QStringLiteral("name"), name},
        {QStringLiteral("pool"), pool.toJson()},
        {QStringLiteral("mode"), mode},
        {QStringLiteral("challenge"), challenge},
        {QStringLiteral("questions"), questionList},
        {QStringLiteral("answers"), answerMap},
        {QStringLiteral("flags"), Json::fromSet(flags)},
        {QStringLiteral("revealed"), Json::fromSet(revealed)},
        {QStringLiteral("index"), index},
        {QStringLiteral("started"), started},
        {QStringLiteral("elapsed"), elapsed},
        {QStringLiteral("eligible"), eligible},
    };
}

bool Session::isGuest() const
{
    return isGuestName(name);
}

bool Session::isExam() const
{
    return mode == Modes::exam || mode == Modes::clubChallenge;
}

qint64 Session::score() const
{
    qint64 total = 0;
    for (const Question& q : questions) {
        const auto it = answers.constFind(q.id);
        if (it != answers.constEnd() && *it == q.correct)
            ++total;
    }
    return total;
}

Result Result::fromJson(const QJsonObject& o, const PoolCopies* copies)
{
    Result r;
    r.id = Json::uuid(o, QStringLiteral("id"));
    r.session = Session::fromJson(Json::object(o, QStringLiteral("session")), copies);
    r.finished = Json::number(o, QStringLiteral("finished"));
    r.seconds = Json::number(o, QStringLiteral("seconds"));
    return r;
}

QJsonObject Result::toJson() const
{
    return QJsonObject{{QStringLiteral("id"), Json::uuidText(id)},
                       {QStringLiteral("session"), session.toJson()},
                       {QStringLiteral("finished"), finished},
                       {QStringLiteral("seconds"), seconds}};
}

bool Result::eligible() const
{
    return !session.isGuest() && session.isExam() && session.eligible &&
           session.questions.size() == session.pool.examCount;
}

Saved Saved::fromJson(const QJsonObject& o, const PoolCopies* copies)
{
    Saved s;
    for (const QJsonValue& v : Json::array(o, QStringLiteral("profiles")))
        s.profiles.append(Profile::fromJson(Json::objectValue(v, QStringLiteral("profiles"))));
    s.selected = Json::optionalUuid(o, QStringLiteral("selected"));
    const QJsonObject stats = Json::object(o, QStringLiteral("stats"));
    for (auto it = stats.constBegin(); it != stats.constEnd(); ++it)
        s.stats.insert(it.key(), Stat::fromJson(Json::objectValue(it.value(), it.key())));
    s.bookmarks = Json::stringSet(Json::array(o, QStringLiteral("bookmarks")), QStringLiteral("bookmarks"));
    for (const QJsonValue& v : Json::array(o, QStringLiteral("drafts")))
        s.drafts.append(Session::fromJson(Json::objectValue(v, QStringLiteral("drafts")), copies));
    const QJsonArray results = Json::array(o, QStringLiteral("results"));
    s.results.reserve(results.size());
    for (const QJsonValue& v : results)
        s.results.append(Result::fromJson(Json::objectValue(v, QStringLiteral("results")), copies));
    return s;
}

Saved Saved::fromBytes(const QByteArray& bytes)
{
    // A long history repeats the same pools hundreds of times: each distinct one is decoded once and shared. Any
    // doubt, and any failure, leaves the plain reading to decide (and to describe what is wrong).
    try {
        PoolCopies copies;
        if (const std::optional<QByteArray> light = copies.extract(bytes))
            return fromJson(Json::parseObject(*light), &copies);
    } catch (const Failure&) {
    }
    return fromJson(Json::parseObject(bytes));
}

QJsonObject Saved::toJson() const
{
    QJsonArray profileList;
    for (const Profile& p : profiles)
        profileList.append(p.toJson());
    QJsonObject statMap;
    for (auto it = stats.cbegin(); it != stats.cend(); ++it)
        statMap.insert(it.key(), it.value().toJson());
    QJsonArray draftList;
    for (const Session& d : drafts)
        draftList.append(d.toJson());
    QJsonArray resultList;
    for (const Result& r : results)
        resultList.append(r.toJson());
    QJsonObject o{
        {QStringLiteral("profiles"), profileList},
        {QStringLiteral("stats"), statMap},
        {QStringLiteral("bookmarks"), Json::fromSet(bookmarks)},
        {QStringLiteral("drafts"), draftList},
        {QStringLiteral("results"), resultList},
    };
    if (selected)
        o.insert(QStringLiteral("selected"), Json::uuidText(*selected));
    return o;
}

QByteArray Saved::toBytes() const
{
    return Json::compact(toJson());
}

Saved Saved::initial()
{
    Saved s;
    s.profiles.append(Profile{QUuid::createUuid(), guestName, std::nullopt});
    return s;
}
