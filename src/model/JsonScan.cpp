// Scanning JSON text for the extent of strings and values.
#include "JsonScan.h"

#include <cstring>

namespace JsonScan {

qsizetype skipSpace(const char* data, qsizetype n, qsizetype at)
{
    while (at < n && (data[at] == ' ' || data[at] == '\n' || data[at] == '\r' || data[at] == '\t'))
        ++at;
    return at;
}

qsizetype stringEnd(const char* data, qsizetype n, qsizetype at, bool& escaped)
{
    qsizetype from = at + 1;
    for (;;) {
        const auto* quote = static_cast<const char*>(std::memchr(data + from, '"', size_t(n - from)));
        if (!quote)
            return -1;
        const qsizetype end = quote - data;
        qsizetype backslashes = 0;
        while (end - 1 - backslashes > at && data[end - 1 - backslashes] == '\\')
            ++backslashes;
        if (std::memchr(data + from, '\\', size_t(end - from)))
            escaped = true;
        if (backslashes % 2 == 0)
            return end;
        from = end + 1;
    }
}

qsizetype valueEnd(const char* data, qsizetype n, qsizetype at)
{
    qsizetype depth = 0;
    for (qsizetype i = at; i < n; ++i) {
        const char c = data[i];
        if (c == '"') {
            bool escaped = false;
            i = stringEnd(data, n, i, escaped);
            if (i < 0)
                return -1;
        } else if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            if (--depth == 0)
                return i + 1;
        }
    }
    return -1;
}

namespace {

// Whether every byte is printable ASCII. The figures' data runs to megabytes and is read at every start: the bytes
// are tested in blocks of 16, without a branch, which the compiler turns into vector instructions.
bool allPrintable(const char* data, qsizetype n)
{
    const auto outside = [](char c) -> unsigned { return uchar(uchar(c) - 0x20) >= 0x60; };
    unsigned found = 0;
    qsizetype i = 0;
    for (; i + 16 <= n; i += 16) {
        for (int j = 0; j < 16; ++j)
            found |= outside(data[i + j]);
    }
    for (; i < n; ++i)
        found |= outside(data[i]);
    return found == 0;
}

// A string of printable ASCII without escapes, as the JSON reader would give it.
std::optional<QString> plainString(const char* data, qsizetype n, qsizetype& at)
{
    if (at >= n || data[at] != '"')
        return std::nullopt;
    bool escaped = false;
    const qsizetype end = stringEnd(data, n, at, escaped);
    if (end < 0 || escaped || !allPrintable(data + at + 1, end - at - 1))
        return std::nullopt;
    QString text = QString::fromLatin1(data + at + 1, end - at - 1);
    at = end + 1;
    return text;
}

std::optional<QMap<QString, QString>> stringMap(const char* data, qsizetype n)
{
    QMap<QString, QString> map;
    qsizetype at = skipSpace(data, n, 1);
    if (at < n && data[at] == '}')
        return map;
    for (;;) {
        const std::optional<QString> key = plainString(data, n, at);
        at = skipSpace(data, n, at);
        if (!key || at >= n || data[at] != ':')
            return std::nullopt;
        at = skipSpace(data, n, at + 1);
        const std::optional<QString> value = plainString(data, n, at);
        if (!value)
            return std::nullopt;
        map.insert(*key, *value);
        at = skipSpace(data, n, at);
        if (at < n && data[at] == ',') {
            at = skipSpace(data, n, at + 1);
            continue;
        }
        if (at == n - 1 && data[at] == '}')
            return map;
        return std::nullopt;
    }
}

} // namespace

std::optional<Split> takeStringMap(const QByteArray& bytes, QByteArrayView key)
{
    const char* data = bytes.constData();
    const qsizetype n = bytes.size();
    qsizetype depth = 0;
    qsizetype found = -1, foundEnd = -1;
    for (qsizetype i = 0; i < n; ++i) {
        const char c = data[i];
        if (c == '{' || c == '[') {
            ++depth;
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == '"') {
            bool escaped = false;
            const qsizetype end = stringEnd(data, n, i, escaped);
            if (end < 0)
                return std::nullopt;
            const qsizetype colon = skipSpace(data, n, end + 1);
            const bool isKey = colon < n && data[colon] == ':';
            if (isKey && depth == 1 && escaped)
                return std::nullopt; // a key that might spell this one in escapes
            const bool match = isKey && depth == 1 && end - i - 1 == key.size() &&
                               std::memcmp(data + i + 1, key.data(), size_t(key.size())) == 0;
            i = end;
            if (!match)
                continue;
            if (found >= 0)
                return std::nullopt; // twice
            found = skipSpace(data, n, colon + 1);
            if (found >= n || data[found] != '{')
                return std::nullopt;
            foundEnd = valueEnd(data, n, found);
            if (foundEnd < 0)
                return std::nullopt;
            i = foundEnd - 1;
        }
    }
    if (found < 0)
        return std::nullopt;
    std::optional<QMap<QString, QString>> map = stringMap(data + found, foundEnd - found);
    if (!map)
        return std::nullopt;
    QByteArray rest;
    rest.reserve(n - (foundEnd - found) + 2);
    rest.append(data, found).append("{}").append(data + foundEnd, n - foundEnd);
    return Split{std::move(rest), std::move(*map)};
}

} // namespace JsonScan
