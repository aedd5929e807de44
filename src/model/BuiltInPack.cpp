// Writing and reading the built-in pack's compact form: a fixed header, then the pack's fields in declaration order.
#include "BuiltInPack.h"

#include "Errors.h"

#include <QDataStream>
#include <QIODevice>

namespace {

// "KAPK" and the layout's version; a pack written by another layout is refused, never misread.
constexpr quint32 magic = 0x4b41504b;
constexpr quint32 layout = 1;

void prepare(QDataStream& stream)
{
    stream.setVersion(QDataStream::Qt_6_4);
    // The machine's own order: text is copied as it is, without swapping each character.
    stream.setByteOrder(QDataStream::LittleEndian);
}

template <typename T> void write(QDataStream& out, const std::optional<T>& value)
{
    out << value.has_value();
    if (value)
        out << *value;
}

template <typename T> void read(QDataStream& in, std::optional<T>& value)
{
    bool present = false;
    in >> present;
    if (present) {
        T v;
        in >> v;
        value = std::move(v);
    } else {
        value.reset();
    }
}

// Counts come before lists: a damaged count must not make the reader reserve or loop without end.
qint32 readCount(QDataStream& in)
{
    qint32 count = -1;
    in >> count;
    if (in.status() != QDataStream::Ok || count < 0 || count > in.device()->bytesAvailable())
        throw DecodeError(QStringLiteral("The data could not be read because it is not a built-in pack."));
    return count;
}

} // namespace

QByteArray BuiltInPack::encode(const Pack& pack)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    prepare(out);
    out << magic << layout << pack.schema << qint32(pack.pools.size());
    for (const Pool& p : pack.pools) {
        out << p.id << p.level << p.name << p.validFrom << p.validUntil << p.revision;
        write(out, p.documentHash);
        out << p.examCount << p.passCount << p.source << p.topics << qint32(p.questions.size());
        for (const Question& q : p.questions) {
            out << q.id << q.group << q.prompt << q.answers << q.correct << q.reference;
            write(out, q.figure);
        }
    }
    // Figures are Base64 text, ASCII by the pack's rules: one byte a character here.
    out << qint32(pack.assets.size());
    for (auto it = pack.assets.cbegin(); it != pack.assets.cend(); ++it)
        out << it.key() << it.value().toLatin1();
    return bytes;
}

Pack BuiltInPack::decode(const QByteArray& bytes)
{
    QDataStream in(bytes);
    prepare(in);
    quint32 header = 0, version = 0;
    in >> header >> version;
    if (header != magic || version != layout)
        throw DecodeError(QStringLiteral("The data could not be read because it is not a built-in pack."));
    Pack pack;
    in >> pack.schema;
    for (qint32 n = readCount(in); n > 0; --n) {
        Pool& p = pack.pools.emplace_back();
        in >> p.id >> p.level >> p.name >> p.validFrom >> p.validUntil >> p.revision;
        read(in, p.documentHash);
        in >> p.examCount >> p.passCount >> p.source >> p.topics;
        const qint32 questions = readCount(in);
        p.questions.reserve(questions);
        for (qint32 i = 0; i < questions; ++i) {
            Question& q = p.questions.emplace_back();
            in >> q.id >> q.group >> q.prompt >> q.answers >> q.correct >> q.reference;
            read(in, q.figure);
        }
    }
    for (qint32 n = readCount(in); n > 0; --n) {
        QString name;
        QByteArray text;
        in >> name >> text;
        pack.assets.insert(name, QString::fromLatin1(text));
    }
    if (in.status() != QDataStream::Ok || !in.atEnd())
        throw DecodeError(QStringLiteral("The data could not be read because it is not a built-in pack."));
    return pack;
}
