// The official pool updater: access to the NCVEC site, reading and parsing pool documents, figures, refresh.
#pragma once

#include "model/DiagramReview.h"
#include "model/Errors.h"
#include "model/Pack.h"

#include <QByteArray>
#include <QSet>
#include <QStringList>
#include <QUrl>
#include <functional>
#include <optional>

namespace OfficialUpdates {

class UpdateError : public Failure
{
public:
    enum Case { download, format, figures, combinedFigures };
    explicit UpdateError(Case c);
    Case which() const { return m_case; }
    bool operator==(const UpdateError& other) const { return m_case == other.m_case; }

private:
    Case m_case;
};

// A system tool (curl, unzip) could not be started; carries the platform's description.
class ProcessError : public Failure
{
public:
    using Failure::Failure;
};

// Figures need the learner: the update stops and carries what the review screen needs.
class ReviewRequest : public std::exception
{
public:
    explicit ReviewRequest(DiagramReview review) : m_review(std::move(review)) {}
    const DiagramReview& review() const { return m_review; }
    const char* what() const noexcept override { return "figures need review"; }

private:
    DiagramReview m_review;
};

// The official site's host in its bare form (configured at build time) and the port to use (none = default).
QString officialHost();
std::optional<int> officialPort();
// Test hook: points the updater at a local replica of the official site. Not used by the product.
void setOfficialSiteForTesting(const QString& host, std::optional<int> port);
// The root address of the official site (https, canonical host).
QUrl officialRoot();

// Source access.
QUrl officialURL(const QString& href, const std::optional<QUrl>& relativeTo = std::nullopt);
QByteArray download(const QUrl& url);
QList<QStringList> matches(const QString& pattern, const QString& text);
QString revision(const QString& fileName);

// Document reading.
QByteArray member(const QString& archive, const QString& name);

// Figures.
inline const QString figureLabelPattern = QStringLiteral("(?i)figure\\s+([TEG][-–]?[0-9](?:[-–]?[0-9])?)");
const QMap<QString, QString>& knownFigures();
QString normalFigure(const QString& label);
QStringList verifiedLabels(const QStringList& labels, const QSet<QString>& referenced);

class TextRecognizer;

// Parsing: one official document in, a validated one-pool pack out. The recognizer reads figure captions that the
// known-figures table does not settle; a check passes one for all its documents, and without one parse makes its
// own when an image needs it.
using Identify = std::function<QStringList(const QByteArray& image)>;
Pack parse(const QByteArray& data, const QUrl& source, const QString& level, const Corrections& corrections = {},
           const Identify& identify = {}, TextRecognizer* recognizer = nullptr);

// Update check.
using Fetch = std::function<QByteArray(const QUrl&)>;
Pack refresh(const Pack& pack, const Corrections& corrections = {}, const Fetch& fetch = download);

} // namespace OfficialUpdates
