// Finding values in JSON text without decoding it: large parts of packs and progress files are located this way
// and decoded apart (or shared), the rest with the ordinary reader.
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <optional>

namespace JsonScan {

// The position of the quote that closes the string opening at `at`, or -1; escaped tells whether it held a
// backslash.
qsizetype stringEnd(const char* data, qsizetype n, qsizetype at, bool& escaped);
// The position just past the object or array opening at `at`, or -1.
qsizetype valueEnd(const char* data, qsizetype n, qsizetype at);
qsizetype skipSpace(const char* data, qsizetype n, qsizetype at);

struct Split
{
    QByteArray rest; // the text with the value replaced by an empty object
    QMap<QString, QString> map;
};
// The object under `key` at the top level of the text, when it maps plain ASCII strings (no escapes) to such
// strings, and the text without it; nothing when the key is not there once or its value is anything else.
std::optional<Split> takeStringMap(const QByteArray& bytes, QByteArrayView key);

} // namespace JsonScan
