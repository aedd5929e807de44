// The network module: the toolkit's HTTP client for the release check, so that only that check loads the network
// library and its own dependencies.
#include "Entries.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

#include <type_traits>

extern "C" Q_DECL_EXPORT void kestovanGet(const Entries::Request& request, Entries::Reply& out)
{
    static_assert(std::is_same_v<decltype(kestovanGet), Entries::Get>);
    QNetworkRequest sent(request.address);
    sent.setRawHeader("Accept", request.accept);
    sent.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    sent.setTransferTimeout(request.timeoutMs);
    if (request.adjust)
        request.adjust(sent);

    QNetworkAccessManager manager;
    QNetworkReply* reply = manager.get(sent);
    // Stop reading as soon as the document is clearly too large instead of downloading whatever is sent.
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [&](qint64 received, qint64) {
        if (received >= request.sizeLimit && !out.tooLarge) {
            out.tooLarge = true;
            reply->abort();
        }
    });
    QEventLoop loop;
    QObject::connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, reply, [&] {
        if (request.stop && request.stop()) {
            out.stopped = true;
            reply->abort();
        }
    });
    watch.start(50);
    if (!reply->isFinished())
        loop.exec();
    watch.stop();

    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (status.isValid())
        out.status = status.toInt();
    out.failed = reply->error() != QNetworkReply::NoError;
    out.errorText = reply->errorString();
    out.finalAddress = reply->url();
    if (!out.tooLarge && !out.stopped)
        out.body = reply->readAll();
    delete reply;
}
