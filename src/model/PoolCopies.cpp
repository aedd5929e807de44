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
        if (end - start - 1 != 4 || std::memcmp(data + start + 1, "pool", 4) != 0)
            continue;
        const qsizetype value = skipSpace(data, n, colon + 1);
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
                copy.index.insert(copy.pool.questions.at(i).id, i);
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

Question PoolCopies::shared(const Pool& pool, Question q) const
{
    for (const Copy& copy : m_copies) {
        if (&copy.pool != &pool)
            continue;
        const qsizetype i = copy.index.value(q.id, -1);
        if (i >= 0 && pool.questions.at(i) == q)
            return pool.questions.at(i);
    }
    return q;
}
