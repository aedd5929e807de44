// Sessions keep a full copy of their pool, so a long history holds the same pool written out hundreds of times.
// PoolCopies decodes each distinct pool text once; the sessions holding it then share one Pool (and the question
// texts of their own question lists), which keeps both the reading time and the memory of a long history small.
#pragma once

#include "Pack.h"

#include <QByteArray>
#include <QHash>
#include <QJsonValue>
#include <optional>

class PoolCopies
{
public:
    // The progress file's bytes with every session's pool object replaced by [n], n being the pool's number here,
    // and each of its questions equal to the question i of pool n by [n, i]. Identical pool texts are decoded once.
    // Nothing (and the file is to be decoded as it is) when the bytes hold anything this reading could take
    // differently: an escaped key, or a pool or a question that is an array.
    std::optional<QByteArray> extract(const QByteArray& bytes);

    // The pool that a placeholder written by extract names, or nothing for any other value.
    const Pool* pool(const QJsonValue& placeholder) const;
    // The pool's own copy of a session's question that extract replaced by [pool, question], or nothing.
    const Question* question(const QJsonValue& placeholder) const;

private:
    struct Copy
    {
        QByteArray text;
        Pool pool;
        QHash<QByteArray, qsizetype> questionTexts; // each question's compact text, and its place
    };
    QList<Copy> m_copies;
};
