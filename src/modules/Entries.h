// The entry points of the application's modules (each loaded on first use through Modules::entry), shared by each
// module and the code that calls it.
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

class QImage;
class QNetworkRequest;
class QTextDocument;
class QWidget;

namespace Entries {

// pdf: the first page of a PDF document at twice its point size, or false when it cannot be read.
inline constexpr const char* pdfModule = "pdf";
inline constexpr const char* renderFirstPage = "kestovanRenderFirstPage";
using RenderFirstPage = bool(const QByteArray& document, QImage& image);

// print: asks for a printer in the system's print dialog and prints the document; false when the learner cancels.
inline constexpr const char* printModule = "print";
inline constexpr const char* printDocument = "kestovanPrintDocument";
using PrintDocument = bool(QTextDocument& document, const QString& name, const QString& dialogTitle, QWidget* parent);

// network: one HTTP GET of a small document, on the calling thread (which it blocks, running its own event loop).
inline constexpr const char* networkModule = "network";
inline constexpr const char* get = "kestovanGet";
struct Request
{
    QUrl address;
    QByteArray accept;
    int timeoutMs = 0;
    // The transfer stops as soon as this many bytes have arrived.
    qint64 sizeLimit = 0;
    // Asked a few times a second; true aborts the transfer.
    std::function<bool()> stop;
    // Changes the request before it is sent (tests trust their local server's certificate here).
    std::function<void(QNetworkRequest&)> adjust;
};
struct Reply
{
    // The HTTP status, absent when no response came (the transport failed).
    std::optional<int> status;
    bool tooLarge = false;
    bool stopped = false;
    bool failed = false;
    QString errorText;
    QUrl finalAddress;
    QByteArray body;
};
using Get = void(const Request& request, Reply& reply);

} // namespace Entries
