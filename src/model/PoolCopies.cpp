// Finding the pool objects of a progress file's sessions without decoding the file.
#include "PoolCopies.h"

#include "Errors.h"
#include "Json.h"
#include "JsonScan.h"

#include <cstring>

using JsonScan::skipSpace;
using JsonScan::stringEnd;
using JsonScan::valueEnd;

std::optional<QByteArray> PoolCopies::extract(const QByteArray& bytes)
{
    const char* data = bytes.constData();
    const qsizetype n = bytes.size();
    QByteArray out;
    out.reserve(n / 4);
    qsizetype copied = 0;
    qsizetype at = 0;
    for (;;) {
        const auto* quote = static_cast<const char*>(std::memchr(data + at, '"', size_t(n - at)));
        if (!quote)
            break;
        const qsizetype start = quote - data;
        bool escaped = false;
        const qsizetype end = stringEnd(data, n, start, escaped);
        if (end < 0)
            return std::nullopt;
        at = end + 1;
        const qsizetype colon = skipSpace(data, n, at);
        if (colon >= n || data[colon] != ':')
            continue; // not a key
        if (escaped)
            return std::nullopt;
        const qsizetype value = skipSpace(data, n, colon + 1);
        if (end - start - 1 == 9 && std::memcmp(data + start + 1, "questions", 9) == 0 && value < n &&
            data[value] == '[') {
            // A session's questions that match a known pool's questions byte for byte become [pool, question].
            at = value + 1;
            for (;;) {
                at = skipSpace(data, n, at);
                if (at < n && data[at] == ']') {
                    ++at;
                    break;
                }
                if (at >= n || data[at] != '{')
                    return std::nullopt;
                const qsizetype close = valueEnd(data, n, at);
                if (close < 0)
                    return std::nullopt;
                const QByteArray text = QByteArray::fromRawData(data + at, close - at);
                for (qsizetype i = 0; i < m_copies.size(); ++i) {
                    const qsizetype q = m_copies.at(i).questionTexts.value(text, -1);
                    if (q < 0)
                        continue;
                    out.append(data + copied, at - copied);
                    out.append('[').append(QByteArray::number(i)).append(',').append(QByteArray::number(q));
                    out.append(']');
                    copied = close;
                    break;
                }
                at = skipSpace(data, n, close);
                if (at < n && data[at] == ',')
                    ++at;
                else if (at >= n || data[at] != ']')
                    return std::nullopt;
            }
            continue;
        }
        if (end - start - 1 != 4 || std::memcmp(data + start + 1, "pool", 4) != 0)
            continue;
        if (value < n && data[value] == '[')
            return std::nullopt;
        if (value >= n || data[value] != '{')
            continue;

        // A complete object that matches a known pool's text byte for byte is that pool's text.
        qsizetype number = -1;
        for (qsizetype i = 0; i < m_copies.size() && number < 0; ++i) {
            const QByteArray& text = m_copies.at(i).text;
            if (n - value >= text.size() && std::memcmp(data + value, text.constData(), size_t(text.size())) == 0)
                number = i;
        }
        if (number < 0) {
            const qsizetype close = valueEnd(data, n, value);
            if (close < 0)
                return std::nullopt;
            const QByteArray text = bytes.mid(value, close - value);
            Copy copy{text, Pool::fromJson(Json::parseObject(text)), {}};
            for (qsizetype i = 0; i < copy.pool.questions.size(); ++i)
                copy.questionTexts.insert(Json::compact(copy.pool.questions.at(i).toJson()), i);
            number = m_copies.size();
            m_copies.append(std::move(copy));
        }
        out.append(data + copied, value - copied);
        out.append('[').append(QByteArray::number(number)).append(']');
        copied = value + m_copies.at(number).text.size();
        at = copied;
    }
    out.append(data + copied, n - copied);
    return out;
}

const Pool* PoolCopies::pool(const QJsonValue& placeholder) const
{
    if (!placeholder.isArray() || placeholder.toArray().size() != 1)
        return nullptr;
    const QJsonValue number = placeholder.toArray().at(0);
    const qsizetype i = number.toInteger(-1);
    return number.isDouble() && i >= 0 && i < m_copies.size() ? &m_copies.at(i).pool : nullptr;
}

const Question* PoolCopies::question(const QJsonValue& placeholder) const
{
    if (!placeholder.isArray() || placeholder.toArray().size() != 2)
        return nullptr;
    const QJsonArray numbers = placeholder.toArray();
    const qsizetype copy = numbers.at(0).toInteger(-1), question = numbers.at(1).toInteger(-1);
    if (copy < 0 || copy >= m_copies.size() || question < 0)
        return nullptr;
    const QList<Question>& questions = m_copies.at(copy).pool.questions;
    return question < questions.size() ? &questions.at(question) : nullptr;
}
