// The pdf module: renders the official PDF figures, so that only showing one loads the PDF library.
#include "Entries.h"

#include <QBuffer>
#include <QImage>
#include <QPdfDocument>
#include <type_traits>

extern "C" Q_DECL_EXPORT bool kestovanRenderFirstPage(const QByteArray& bytes, QImage& image)
{
    static_assert(std::is_same_v<decltype(kestovanRenderFirstPage), Entries::RenderFirstPage>);
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QPdfDocument document;
    document.load(&buffer);
    if (document.status() != QPdfDocument::Status::Ready || document.pageCount() < 1)
        return false;
    // Twice the page's point size keeps thin lines readable when the viewer zooms in.
    const QSize size = (document.pagePointSize(0) * 2).toSize();
    if (size.isEmpty())
        return false;
    image = document.render(0, size);
    return !image.isNull();
}
