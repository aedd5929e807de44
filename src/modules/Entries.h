// The entry points of the application's modules (each loaded on first use through Modules::entry), shared by each
// module and the code that calls it.
#pragma once

class QByteArray;
class QImage;
class QString;
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

} // namespace Entries
