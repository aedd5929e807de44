// Error values shared by the core: a base with a learner-facing description, and the model's own errors.
#pragma once

#include <QString>
#include <exception>

// Every failure the core reports carries one line of text that can be shown to the learner.
class Failure : public std::exception
{
public:
    explicit Failure(QString description) : m_description(std::move(description)), m_utf8(m_description.toUtf8()) {}
    const QString& description() const { return m_description; }
    const char* what() const noexcept override { return m_utf8.constData(); }

private:
    QString m_description;
    QByteArray m_utf8;
};

// A record broke a content rule; it carries no detail on purpose, callers only learn that the data is invalid.
class DataError : public Failure
{
public:
    enum Case { invalid };
    explicit DataError(Case c = invalid) : Failure(QStringLiteral("The data is not valid.")), m_case(c) {}
    Case which() const { return m_case; }

private:
    Case m_case;
};

// The JSON reader could not turn the bytes into the expected record.
class DecodeError : public Failure
{
public:
    using Failure::Failure;
};

// A file could not be read, written, copied or listed.
class FileError : public Failure
{
public:
    using Failure::Failure;
};
